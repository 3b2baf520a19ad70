# The module exports exactly the names of cmake/exports.list: mangled, sorted, one per line. The version script of the
# linker is generated from that list; a test compares the list with the built module in both directions. After a change
# of the contract, run scripts/update-exports and review the difference.
option(ZTA_UNLISTED_EXPORTS "Export all names that are marked for export, listed or not" OFF)

target_link_options(ZtaAudioSamplesEngine PRIVATE -Wl,-Bsymbolic-functions -Wl,-z,now -Wl,--as-needed)
if(NOT ZTA_SANITIZE)
  target_link_options(ZtaAudioSamplesEngine PRIVATE -Wl,-z,defs)
endif()
if(NOT ZTA_UNLISTED_EXPORTS)
  set(exports_list ${PROJECT_SOURCE_DIR}/cmake/exports.list)
  set(version_script ${PROJECT_BINARY_DIR}/generated/exports.map)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${exports_list})
  file(STRINGS ${exports_list} names)
  list(JOIN names ";\n    " names)
  file(CONFIGURE OUTPUT ${version_script} CONTENT "{\n  global:\n    ${names};\n  local:\n    *;\n};\n")
  target_link_options(ZtaAudioSamplesEngine PRIVATE -Wl,--version-script=${version_script})
  set_target_properties(ZtaAudioSamplesEngine PROPERTIES LINK_DEPENDS ${version_script})
endif()
