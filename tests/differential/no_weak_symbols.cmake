# Fails if an object of a loop target holds or takes a weak symbol: the linker would keep one copy of it for all targets,
# and that copy may use instructions that the processor does not have.
#   NM       the program
#   OBJECTS  the objects of the loops; those of targets are told by their names
set(checked 0)
foreach(object IN LISTS OBJECTS)
  if(NOT object MATCHES "/target_[^/]*$")
    continue()
  endif()
  execute_process(COMMAND ${NM} ${object} OUTPUT_VARIABLE symbols RESULT_VARIABLE result)
  if(NOT result EQUAL 0 OR NOT symbols MATCHES "g_sLoops")
    message(FATAL_ERROR "${object} holds no table of loops")
  endif()
  string(REGEX MATCHALL "[^\n]* [VvWwu] [^\n]*" weak "${symbols}")
  if(weak)
    list(JOIN weak "\n" weak)
    message(FATAL_ERROR "${object} has weak symbols:\n${weak}")
  endif()
  math(EXPR checked "${checked} + 1")
endforeach()
if(checked LESS 2)
  message(FATAL_ERROR "found ${checked} targets, expected the plain form and at least one more")
endif()
message(STATUS "${checked} targets without weak symbols")
