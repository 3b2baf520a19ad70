# Writes OUTPUT from the git checkout in SOURCE_DIR; outside a checkout the revision is all zeros.
find_program(GIT git)
set(revision "")
if(GIT)
  execute_process(COMMAND ${GIT} -C ${SOURCE_DIR} rev-parse HEAD OUTPUT_VARIABLE revision
                  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  execute_process(COMMAND ${GIT} -C ${SOURCE_DIR} rev-list --count HEAD OUTPUT_VARIABLE build
                  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT revision MATCHES "^[0-9a-f]+$")
  string(REPEAT "0" 40 revision)
  set(build 0)
endif()
file(CONFIGURE OUTPUT ${OUTPUT} CONTENT
"#define ZTA_REVISION \"${revision}\"
#define ZTA_RELEASE \"${RELEASE}\"
#define ZTA_BUILD \"${build}\"
")
