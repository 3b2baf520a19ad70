/// Where the sound of a rare container ends, as its header declares.
#pragma once

#include "tools/ztaudio/header_file.h"

#include <cstdint>

/// Returns the length of the file up to the end of its samples, as the header of an AVR, MAT4, MAT5, MPC 2000, NIST,
/// VOC or WVE file declares it. Returns 0 for other files, and if the header has no length. IRCAM, PAF and PVF headers
/// have none; libsndfile rejects HTK files of a wrong length; an SD2 file has its header in another file.
std::uint64_t FindDeclaredEnd(HeaderFile& file);
