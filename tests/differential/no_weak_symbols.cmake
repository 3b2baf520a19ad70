# Fails if an object that is compiled for one instruction set holds or takes a weak symbol: the linker would keep one
# copy of it for all of them, and that copy may use instructions that the processor does not have.
#   NM       the program
#   OBJECTS  objects; those that count are told by their names
#   NAMES    a pattern for their names
#   CONTENT  a pattern for what each of them holds
#   COUNT    how many there are at least
set(checked 0)
foreach(object IN LISTS OBJECTS)
  get_filename_component(name ${object} NAME)
  if(NOT name MATCHES "${NAMES}")
    continue()
  endif()
  execute_process(COMMAND ${NM} ${object} OUTPUT_VARIABLE symbols RESULT_VARIABLE result)
  if(NOT result EQUAL 0 OR NOT symbols MATCHES "${CONTENT}")
    message(FATAL_ERROR "${object} does not hold ${CONTENT}")
  endif()
  string(REGEX MATCHALL "[^\n]* [VvWwu] [^\n]*" weak "${symbols}")
  if(weak)
    list(JOIN weak "\n" weak)
    message(FATAL_ERROR "${object} has weak symbols:\n${weak}")
  endif()
  math(EXPR checked "${checked} + 1")
endforeach()
if(checked LESS COUNT)
  message(FATAL_ERROR "found ${checked} objects, expected ${COUNT} at least")
endif()
message(STATUS "${checked} objects without weak symbols")
