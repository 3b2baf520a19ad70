#include "version_values.h" // made by the build: ZTA_REVISION, ZTA_RELEASE, ZTA_BUILD

#include <zta/module.h>

#include <cstddef>

namespace {

template <std::size_t Size, std::size_t Length>
constexpr void CopyText(char (&rachTarget)[Size], const char (&rszSource)[Length])
{
    static_assert(Length - 1 <= Size, "the text does not fit its field");
    for (std::size_t i = 0; i + 1 < Length; ++i) {
        rachTarget[i] = rszSource[i];
    }
}

constexpr SZtVersionInfo MakeVersionInfo()
{
    static_assert(sizeof(ZTA_REVISION) == 41, "a revision has 40 hexadecimal digits");
    SZtVersionInfo sInfo = {};
    CopyText(sInfo.achRevision, ZTA_REVISION);
    CopyText(sInfo.achRelease, ZTA_RELEASE);
    CopyText(sInfo.achBuild, ZTA_BUILD);
    return sInfo;
}

} // namespace

__attribute__((section(".kelvarvideo"), used)) constexpr SZtVersionInfo g_achVersionInfo = MakeVersionInfo();
