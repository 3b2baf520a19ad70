# Removes the files of an installation:
#   cmake -D BUILD=build/install -P cmake/Uninstall.cmake
# BUILD is the build directory that `cmake --install` was run for; its install manifests list the files. DESTDIR has the
# same meaning as during the installation. The directories that only this project has (include/zta, its directories
# below doc and cmake) are removed if they are empty afterwards.
if(NOT BUILD)
  message(FATAL_ERROR "usage: cmake -D BUILD=DIRECTORY -P cmake/Uninstall.cmake")
endif()
file(GLOB manifests ${BUILD}/install_manifest*.txt)
if(NOT manifests)
  message(FATAL_ERROR "${BUILD} has no install_manifest.txt: nothing was installed from it")
endif()

set(directories "")
foreach(manifest IN LISTS manifests)
  file(STRINGS ${manifest} files ENCODING UTF-8)
  foreach(name IN LISTS files)
    set(file "$ENV{DESTDIR}${name}")
    if(EXISTS "${file}" OR IS_SYMLINK "${file}")
      message(STATUS "Removing: ${file}")
      file(REMOVE "${file}")
    endif()
    cmake_path(GET file PARENT_PATH directory)
    while(directory MATCHES "/(include/zta|doc/[^/]*[zZ]ta[^/]*|cmake/ZtaAudioSamplesEngine)(/|$)")
      list(APPEND directories "${directory}")
      cmake_path(GET directory PARENT_PATH directory)
    endwhile()
  endforeach()
endforeach()

# Subdirectories before their parents.
list(REMOVE_DUPLICATES directories)
list(SORT directories ORDER DESCENDING)
foreach(directory IN LISTS directories)
  file(GLOB content LIST_DIRECTORIES true "${directory}/*" "${directory}/.*")
  if(IS_DIRECTORY "${directory}" AND NOT content)
    file(REMOVE_RECURSE "${directory}")
  endif()
endforeach()
file(REMOVE ${manifests})
