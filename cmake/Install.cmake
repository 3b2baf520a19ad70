# The installation, in three components: runtime, development and tools. tests/packaging/manifest lists every file;
# Debian's packages (packaging/debian) have the same contents.
include(CMakePackageConfigHelpers)
set(package ZtaAudioSamplesEngine)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${package})
set(generated ${PROJECT_BINARY_DIR}/generated/packaging)

# The library, and the files to compile hosts with.
set_target_properties(ZtaAudioSamplesEngine PROPERTIES EXPORT_NAME AudioSamplesEngine)
set_target_properties(zta_headers PROPERTIES EXPORT_NAME Headers)
set_target_properties(zta_host PROPERTIES EXPORT_NAME Host)
install(TARGETS ZtaAudioSamplesEngine zta_headers zta_host EXPORT ${package}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY include/zta DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
file(GLOB host_headers CONFIGURE_DEPENDS host/*.h)
install(FILES ${host_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zta/host COMPONENT development)

# The files by which other builds find them; the prefix can be moved.
install(EXPORT ${package} NAMESPACE Zta:: FILE ${package}Targets.cmake DESTINATION ${package_dir} COMPONENT development)
write_basic_package_version_file(${generated}/${package}ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES packaging/cmake/${package}Config.cmake packaging/cmake/ZtaValidation.cmake
  ${generated}/${package}ConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)

set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
cmake_path(APPEND CMAKE_INSTALL_PREFIX ${pkgconfig_dir} OUTPUT_VARIABLE absolute_dir)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${absolute_dir} OUTPUT_VARIABLE prefix_from_pkgconfig)
set(prefix "\${prefix}")
cmake_path(APPEND prefix ${CMAKE_INSTALL_LIBDIR} OUTPUT_VARIABLE pkgconfig_libdir) # which may be absolute
cmake_path(APPEND prefix ${CMAKE_INSTALL_INCLUDEDIR} OUTPUT_VARIABLE pkgconfig_includedir)
foreach(name zta-audio-samples-engine zta-host)
  configure_file(packaging/pkgconfig/${name}.pc.in ${generated}/${name}.pc @ONLY)
  install(FILES ${generated}/${name}.pc DESTINATION ${pkgconfig_dir} COMPONENT development)
endforeach()

# The documents for authors of hosts, and the examples as a project to copy.
install(FILES README.md CHANGELOG.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(FILES docs/abi.md docs/status-codes.md docs/host-guide.md docs/validator.md
  docs/debugging-a-validation.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT development)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)

get_property(tools GLOBAL PROPERTY ZTA_TOOLS)
foreach(tool IN LISTS tools)
  install(TARGETS ${tool} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  install(FILES docs/man/${tool}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
endforeach()

if(tools)
  install(FILES packaging/completion/ztaudio.bash RENAME ztaudio
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
  install(FILES packaging/completion/_ztaudio DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT tools)
endif()

# The broken modules and plugins of the validator's self-test.
get_property(fixtures GLOBAL PROPERTY ZTA_VALIDATOR_FIXTURES)
if(fixtures)
  install(TARGETS ${fixtures} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/zta/validate COMPONENT tools)
endif()
if(PROJECT_IS_TOP_LEVEL)
  add_custom_target(uninstall VERBATIM
    COMMAND ${CMAKE_COMMAND} -D BUILD=${PROJECT_BINARY_DIR} -P ${PROJECT_SOURCE_DIR}/cmake/Uninstall.cmake)
endif()
