# The run-time tree, the same in the stage (build/<preset>/stage) and after installation:
#
#   <prefix>/bin/                links to the programs
#   <prefix>/lib/mfx/bin/        the programs
#   <prefix>/lib/mfx/plugins/    TevoroAppManager.so
#   <prefix>/lib/mfx/Frameworks/ NAME.framework/NAME.so
#   <prefix>/lib/mfx/shared_assets/

set(TEVORO_STAGE "${CMAKE_BINARY_DIR}/stage")
set(TEVORO_STAGE_HOME "${TEVORO_STAGE}/lib/mfx")
set(TEVORO_INSTALL_HOME "lib/mfx")

# tevoro_stage_program(TARGET [INNER]): a program of the run-time tree, with its link in bin/; without
# it where only our own programs start it (INNER).
function(tevoro_stage_program target)
  set_target_properties(${target} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${TEVORO_STAGE_HOME}/bin")
  install(TARGETS ${target} RUNTIME DESTINATION "${TEVORO_INSTALL_HOME}/bin")
  if("INNER" IN_LIST ARGN)
    return()
  endif()
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E make_directory "${TEVORO_STAGE}/bin"
    COMMAND ${CMAKE_COMMAND} -E create_symlink
      "../lib/mfx/bin/$<TARGET_FILE_NAME:${target}>"
      "${TEVORO_STAGE}/bin/$<TARGET_FILE_NAME:${target}>"
    VERBATIM)
  install(CODE "
    file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
    file(CREATE_LINK \"../lib/mfx/bin/$<TARGET_FILE_NAME:${target}>\"
      \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/$<TARGET_FILE_NAME:${target}>\" SYMBOLIC)")
endfunction()

# tevoro_stage_module(TARGET FOLDER): a module of the run-time tree, FOLDER below lib/mfx.
function(tevoro_stage_module target folder)
  set_target_properties(${target} PROPERTIES
    PREFIX "" LIBRARY_OUTPUT_DIRECTORY "${TEVORO_STAGE_HOME}/${folder}")
  install(TARGETS ${target} LIBRARY DESTINATION "${TEVORO_INSTALL_HOME}/${folder}")
endfunction()

option(TEVORO_REGISTER "Register what the message bus may start when it is installed" ON)

# tevoro_register_program(TARGET SPECIFIER NAME): an installation makes it known to the message bus
# under that specifier, for the user who installs. Not where DESTDIR is set: then a package is made,
# whose own script registers it where the package is installed. The installation is whole without it.
function(tevoro_register_program target specifier name)
  if(NOT TEVORO_REGISTER)
    return()
  endif()
  install(CODE "
    if(\"\$ENV{DESTDIR}\" STREQUAL \"\")
      message(STATUS \"Registering: ${specifier}\")
      execute_process(COMMAND \"\${CMAKE_INSTALL_PREFIX}/bin/velmo-caps\" add ${specifier}
          --path \"\${CMAKE_INSTALL_PREFIX}/bin/$<TARGET_FILE_NAME:${target}>\"
          --set \"DisplayName=${name}\"
        RESULT_VARIABLE result)
      if(NOT result EQUAL 0)
        message(WARNING \"${specifier} is not registered (velmo-caps: \${result})\")
      endif()
    endif()")
endfunction()
