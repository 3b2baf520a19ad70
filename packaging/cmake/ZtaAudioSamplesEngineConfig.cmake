# Zta::AudioSamplesEngine  the module; hosts load it by dlopen, so that $<TARGET_FILE:...> is what most want of it
# Zta::Headers             what a host of your own compiles against
# Zta::Host                the reference host, a static library
include(${CMAKE_CURRENT_LIST_DIR}/ZtaAudioSamplesEngineTargets.cmake)
