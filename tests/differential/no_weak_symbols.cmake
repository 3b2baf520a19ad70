# Fails if the object of a variant defines or references a weak symbol: the linker would keep one copy for all variants,
# and that copy can contain instructions that the CPU does not have.
#   NM       the program
#   OBJECTS  objects
#   NAMES    a pattern for the file names of the variants' objects; the others are skipped
#   CONTENT  a pattern for a symbol of each of them
#   COUNT    the number of variants
set(checked 0)
foreach(object IN LISTS OBJECTS)
  get_filename_component(name ${object} NAME)
  if(NOT name MATCHES "${NAMES}")
    continue()
  endif()
  execute_process(COMMAND ${NM} ${object} OUTPUT_VARIABLE symbols RESULT_VARIABLE result)
  if(NOT result EQUAL 0 OR NOT symbols MATCHES "${CONTENT}")
    message(FATAL_ERROR "${object} does not define ${CONTENT}")
  endif()
  string(REGEX MATCHALL "[^\n]* [VvWwu] [^\n]*" weak "${symbols}")
  if(weak)
    list(JOIN weak "\n" weak)
    message(FATAL_ERROR "${object} has weak symbols:\n${weak}")
  endif()
  math(EXPR checked "${checked} + 1")
endforeach()
if(NOT checked EQUAL COUNT)
  message(FATAL_ERROR "found ${checked} objects, expected ${COUNT}")
endif()
message(STATUS "${checked} objects without weak symbols")
