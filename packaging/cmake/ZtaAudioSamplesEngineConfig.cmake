# Zta::AudioSamplesEngine   the module; hosts load it by dlopen, so that $<TARGET_FILE:...> is what most need of it
# Zta::Headers              what a host of your own compiles against
# Zta::Host                 the reference host, a static library
# zta_add_validation(), zta_add_host_validation()   tests that run ztvalidate; see ZtaValidation.cmake
include(${CMAKE_CURRENT_LIST_DIR}/ZtaAudioSamplesEngineTargets.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/ZtaValidation.cmake)
