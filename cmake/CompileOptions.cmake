# How every target of the project is compiled.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN OFF) # inline members of exported classes are exported with them

# Results are exact to the bit: no product and sum may be fused behind the source's back.
add_compile_options(-ffp-contract=off)
# A unique symbol would keep the module in the process after dlclose.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(-fno-gnu-unique)
endif()

if(ZTA_SANITIZE)
  # The vptr check cannot see through the frame's shared slots (src/component/unknown.h), nor across dlopen.
  add_compile_options(-fsanitize=${ZTA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ZTA_SANITIZE})
  # Between the sanitizers' checks GCC 12 takes members of its own <regex> for uninitialised.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set(ZTA_SANITIZE_WARNINGS -Wno-maybe-uninitialized)
  endif()
  if(ZTA_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize=vptr)
  endif()
endif()
if(ZTA_COVERAGE)
  add_link_options(--coverage)
  # The library alone counts, as it is written: unoptimised, and without the standard library's templates. Atomic because
  # tests have threads: a lost count makes gcov's sums negative.
  set(ZTA_COUNTED -O0 -g --coverage -fprofile-update=atomic "-fprofile-exclude-files=/usr/.*")
endif()

set(ZTA_WARNINGS -Wall -Wextra -Wpedantic -Wconversion -Wshadow $<$<BOOL:${ZTA_WERROR}>:-Werror>)

function(zta_compile_options target)
  target_compile_options(${target} PRIVATE
    ${ZTA_WARNINGS} $<$<COMPILE_LANGUAGE:CXX>:-fno-semantic-interposition> ${ZTA_SANITIZE_WARNINGS})
endfunction()

# For a target with code of the library.
function(zta_count_coverage target)
  target_compile_options(${target} PRIVATE ${ZTA_COUNTED})
endfunction()
