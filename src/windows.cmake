add_library(vantrel_windows STATIC
  console/Binder.cpp
  console/DialogBoxes.cpp
  console/ElidedLabel.cpp
  console/FileDialog.cpp
  console/Main.cpp
  console/Main.ui
  console/frmNewIP.cpp
  console/frmNewIP.ui
)
target_link_libraries(vantrel_windows
  PUBLIC vantrel_core Qt6::Widgets
  PRIVATE vantrel_options)
