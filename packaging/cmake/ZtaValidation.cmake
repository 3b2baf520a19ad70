# Tests of your modules and of your host's buffers. Call enable_testing() first.
#
#   zta_add_validation(TARGET my_module
#     [NAME test] [ONLY pattern...] [EXCLUDE pattern...] [SEED n] [JOBS n] [TIMEOUT seconds] [JUNIT file])
#
# Adds a test that runs ztvalidate on a module. The target is a shared library or a module library.
#   NAME     the name of the test, by default validation/<target>
#   ONLY, EXCLUDE, SEED, JOBS, TIMEOUT, JUNIT   as the options of ztvalidate; TIMEOUT is the limit of one check
#
#   zta_add_host_validation(TARGET my_host_plugin ...)
#
# Adds a test that runs ztvalidate on the buffers of a host. The target exports the functions of <zta/host_plugin.h>.
#
# The tools of the package must be installed: ztvalidate is searched for beside this file's package and in the usual
# places. Set ZTA_VALIDATE_EXECUTABLE to use another one.
set(_zta_validation_dir ${CMAKE_CURRENT_LIST_DIR})

function(_zta_add_validation_test function kind)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "TARGET;NAME;SEED;JOBS;TIMEOUT;JUNIT" "ONLY;EXCLUDE")
  if(NOT arg_TARGET)
    message(FATAL_ERROR "${function}: TARGET is missing")
  elseif(NOT TARGET ${arg_TARGET})
    message(FATAL_ERROR "${function}: there is no target ${arg_TARGET}")
  elseif(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "${function}: unknown arguments: ${arg_UNPARSED_ARGUMENTS}")
  endif()
  # The prefix of the package: its folder is <prefix>/<libdir>/cmake/<package>, and <libdir> has one or two parts.
  find_program(ZTA_VALIDATE_EXECUTABLE ztvalidate HINTS
    ${_zta_validation_dir}/../../../bin ${_zta_validation_dir}/../../../../bin)
  if(NOT ZTA_VALIDATE_EXECUTABLE)
    message(FATAL_ERROR "${function}: ztvalidate is not installed; set ZTA_VALIDATE_EXECUTABLE")
  endif()

  if(NOT arg_NAME)
    set(arg_NAME validation/${arg_TARGET})
  endif()
  set(arguments "")
  foreach(option IN ITEMS SEED JOBS TIMEOUT JUNIT)
    if(DEFINED arg_${option})
      string(TOLOWER ${option} name)
      list(APPEND arguments --${name} ${arg_${option}})
    endif()
  endforeach()
  foreach(option IN ITEMS ONLY EXCLUDE)
    string(TOLOWER ${option} name)
    foreach(pattern IN LISTS arg_${option})
      list(APPEND arguments --${name} ${pattern})
    endforeach()
  endforeach()
  add_test(NAME ${arg_NAME}
    COMMAND ${ZTA_VALIDATE_EXECUTABLE} ${arguments} ${kind} $<TARGET_FILE:${arg_TARGET}>)
endfunction()

function(zta_add_validation)
  _zta_add_validation_test(zta_add_validation "" ${ARGV})
endfunction()

function(zta_add_host_validation)
  _zta_add_validation_test(zta_add_host_validation --host ${ARGV})
endfunction()
