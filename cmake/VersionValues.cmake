# Writes version_values.h, with the revision that the module reports, in every build.
set(ZTA_GENERATED_DIR ${PROJECT_BINARY_DIR}/generated)
add_custom_target(zta_version_values
  BYPRODUCTS ${ZTA_GENERATED_DIR}/version_values.h
  COMMAND ${CMAKE_COMMAND} -D SOURCE_DIR=${PROJECT_SOURCE_DIR} -D RELEASE=${PROJECT_VERSION}
          -D OUTPUT=${ZTA_GENERATED_DIR}/version_values.h -P ${PROJECT_SOURCE_DIR}/cmake/WriteVersionValues.cmake
  VERBATIM)
