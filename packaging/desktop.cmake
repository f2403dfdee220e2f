# Files for freedesktop.org desktops, man and bash.

# The file name of the desktop entry, the component ID of the metainfo and the desktop file name
# that the program sets at start are the same; a Wayland compositor finds the icon by it.
set(icon ${PROJECT_SOURCE_DIR}/src/windows/images/vantrel.svg)
install(FILES local.vantrel.console.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES local.vantrel.console.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${icon} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)

add_executable(vantrel-icons drawicons.cpp)
target_link_libraries(vantrel-icons PRIVATE Qt6::Gui Qt6::Svg vantrel_options)
set_target_properties(vantrel-icons PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
set(sizes 16 24 32 48 64 128 256)
set(icon_folder ${CMAKE_CURRENT_BINARY_DIR}/hicolor)
list(TRANSFORM sizes REPLACE "(.+)" "${icon_folder}/\\1x\\1/apps/vantrel.png" OUTPUT_VARIABLE icons)
add_custom_command(OUTPUT ${icons}
  COMMAND vantrel-icons ${icon} ${icon_folder} ${sizes}
  DEPENDS ${icon} vantrel-icons
  VERBATIM)
install(DIRECTORY ${icon_folder}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor)

find_program(GZIP gzip REQUIRED)
set(compressed)
# add_compressed(INPUT NAME FOLDER): installs INPUT, compressed, as FOLDER/NAME.gz.
function(add_compressed input name folder)
  set(file ${CMAKE_CURRENT_BINARY_DIR}/${name})
  configure_file(${input} ${file} @ONLY)
  add_custom_command(OUTPUT ${file}.gz
    COMMAND ${GZIP} -9nkf ${file}
    DEPENDS ${file}
    VERBATIM)
  install(FILES ${file}.gz DESTINATION ${folder})
  set(compressed ${compressed} ${file}.gz PARENT_SCOPE)
endfunction()

add_compressed(vantrel.1.in vantrel.1 ${CMAKE_INSTALL_MANDIR}/man1)
add_compressed(vantrel-simulator.1.in vantrel-simulator.1 ${CMAKE_INSTALL_MANDIR}/man1)
add_compressed(changelog changelog ${CMAKE_INSTALL_DATADIR}/doc/vantrel)
foreach(name vantrel vantrel-simulator)
  install(FILES completion.bash RENAME ${name}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endforeach()

# All that is installed, and nothing else: script/package builds this target.
add_custom_target(vantrel_installed ALL DEPENDS ${icons} ${compressed})
add_dependencies(vantrel_installed vantrel vantrel-simulator)

if(BUILD_TESTING)
  foreach(program vantrel vantrel-simulator)
    add_test(NAME manual_${program}
      COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check-manual $<TARGET_FILE:${program}>
              ${CMAKE_CURRENT_BINARY_DIR}/${program}.1)
  endforeach()
  add_test(NAME installation
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check-installation ${CMAKE_COMMAND} ${PROJECT_BINARY_DIR})
  set_tests_properties(manual_vantrel manual_vantrel-simulator installation PROPERTIES TIMEOUT 60)
endif()
