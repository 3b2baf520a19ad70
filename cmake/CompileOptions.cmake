# How every target of the project is compiled: zta_compile_options(TARGET) applies these settings.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN OFF) # inline members of exported classes are exported with them

add_library(zta_options INTERFACE)
# Results are bit-exact: the compiler must not contract products and sums.
target_compile_options(zta_options INTERFACE
  -ffp-contract=off $<$<COMPILE_LANGUAGE:CXX>:-fno-semantic-interposition>)
# A unique symbol would keep the module in the process after dlclose.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(zta_options INTERFACE -fno-gnu-unique)
endif()
if(ZTA_SANITIZE)
  # The vptr check does not support the shared slots of src/component/unknown.h, nor calls across dlopen.
  target_compile_options(zta_options INTERFACE
    -fsanitize=${ZTA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  if(ZTA_SANITIZE MATCHES "undefined")
    target_compile_options(zta_options INTERFACE -fno-sanitize=vptr)
  endif()
  target_link_options(zta_options INTERFACE -fsanitize=${ZTA_SANITIZE})
endif()
if(ZTA_COVERAGE)
  target_link_options(zta_options INTERFACE --coverage)
  # Only code of the library is counted, unoptimized and without the standard library's templates. The updates are
  # atomic because the tests use threads: lost updates make gcov's sums negative.
  set(ZTA_COUNTED -O0 -g --coverage -fprofile-update=atomic "-fprofile-exclude-files=/usr/.*")
endif()

# Warnings. The policy: every target is compiled with the same warnings. The presets for developers treat them as errors
# (ZTA_WERROR); a plain build does not, because a newer compiler can have new ones. A warning that is wrong is
# disabled here, with the reason, for the smallest set of sources.
set(ZTA_WARNINGS -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
target_compile_options(zta_options INTERFACE ${ZTA_WARNINGS} $<$<BOOL:${ZTA_WERROR}>:-Werror>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 reports the placeholders of its own <avx512fintrin.h> as uninitialized.
  set(ZTA_FALSE_WARNINGS_AVX512 -Wno-uninitialized -Wno-maybe-uninitialized)
  # With a sanitizer, GCC 12 reports members of its own <regex> as uninitialized.
  if(ZTA_SANITIZE)
    target_compile_options(zta_options INTERFACE -Wno-maybe-uninitialized)
  endif()
endif()

function(zta_compile_options target)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:zta_options>)
endfunction()

# For test code, of which most runs once: -Og compiles in a third of the time of -O3. Tests that run for seconds keep
# the optimization of the build type.
function(zta_optimize_little target)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release,RelWithDebInfo>:-Og>)
endfunction()

# For a target with code of the library.
function(zta_count_coverage target)
  target_compile_options(${target} PRIVATE ${ZTA_COUNTED})
endfunction()

# Adds to a target a source that includes one header, after the lines PRELUDE if there are any. It compiles only if the
# header includes everything that it uses. LANGUAGE is cpp (the default) or c. OPTION follows all other options.
function(zta_compile_header_alone target header)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "PRELUDE;LANGUAGE;OPTION" "")
  if(NOT arg_LANGUAGE)
    set(arg_LANGUAGE cpp)
  endif()
  string(MAKE_C_IDENTIFIER ${header} name)
  set(source ${CMAKE_CURRENT_BINARY_DIR}/${target}/${name}.${arg_LANGUAGE})
  file(CONFIGURE OUTPUT ${source} CONTENT "${arg_PRELUDE}#include \"${header}\"\n" @ONLY)
  set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS "${arg_OPTION}")
  target_sources(${target} PRIVATE ${source})
endfunction()
