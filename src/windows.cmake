add_library(vantrel_windows STATIC
  windows/Binder.cpp
  windows/DialogBoxes.cpp
  windows/ElidedLabel.cpp
  windows/FieldFocus.cpp
  windows/FileDialog.cpp
  windows/ToolWindow.cpp
  protocol/FlashForm.cpp
  protocol/FlashForm.ui
  maintenance/frmFTDI.cpp
  maintenance/frmFTDI.ui
  maintenance/frmNWCfg.cpp
  maintenance/frmNWCfg.ui
  console/Main.cpp
  console/Main.ui
  console/frmNewIP.cpp
  console/frmNewIP.ui
)
target_link_libraries(vantrel_windows
  PUBLIC vantrel_core Qt6::Widgets
  PRIVATE vantrel_options)
