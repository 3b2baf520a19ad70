/// The names of one variant's functions: ZTA_IPP(name) is prefix_name, with the prefix ZTA_IPP_PREFIX that the source
/// file of the variant defines.
#pragma once

#define ZTA_IPP_JOIN(prefix, name) prefix##_##name
#define ZTA_IPP_EXPAND(prefix, name) ZTA_IPP_JOIN(prefix, name)
#define ZTA_IPP(name) ZTA_IPP_EXPAND(ZTA_IPP_PREFIX, name)
