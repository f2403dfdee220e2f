add_library(vantrel_windows STATIC
  windows/Binder.cpp
  windows/DialogBoxes.cpp
  windows/DropDownList.cpp
  windows/ElidedLabel.cpp
  windows/EntryNotes.cpp
  windows/FieldFocus.cpp
  windows/FileDialog.cpp
  windows/FindBar.cpp
  windows/FindBar.ui
  windows/ProgramIcon.cpp
  windows/ToolWindow.cpp
  windows/TypedPath.cpp
  windows/UndecodedNames.cpp
  windows/LegiblePane.cpp
  windows/MessageBox.cpp
  windows/ReadOnlyFields.cpp
  windows/Shades.cpp
  protocol/FlashForm.cpp
  protocol/FlashForm.ui
  maintenance/EZUSBForm.cpp
  maintenance/EZUSBForm.ui
  maintenance/FWLoad.cpp
  maintenance/FWLoad.ui
  maintenance/frmFTDI.cpp
  maintenance/frmFTDI.ui
  maintenance/frmNWCfg.cpp
  maintenance/frmNWCfg.ui
  console/Main.cpp
  console/Main.ui
  console/frmNewIP.cpp
  console/frmNewIP.ui
  tools/GetDescForm.cpp
  tools/GetDescForm.ui
  tools/DevRqstForm.cpp
  tools/DevRqstForm.ui
  tools/HelpForm.cpp
  tools/HelpForm.ui
  tools/frmAbout.cpp
  tools/frmAbout.ui
)
target_link_libraries(vantrel_windows
  PUBLIC vantrel_core Qt6::Widgets
  PRIVATE Qt6::Svg vantrel_options)
target_precompile_headers(vantrel_windows PRIVATE ${window_headers})

# The program's mark.
qt_add_resources(vantrel_windows icon
  PREFIX /
  BASE windows
  FILES windows/images/vantrel.svg)
