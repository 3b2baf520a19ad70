/// Expands a macro for each of a list of arguments.
#pragma once

/// ZTA_FOR_EACH(macro, fixed, a, b) expands to macro(fixed, a) macro(fixed, b); for up to 100 arguments.
#define ZTA_FOR_EACH(macro, fixed, ...) ZTA_RESCAN(ZTA_FOR_EACH_NEXT(macro, fixed, __VA_ARGS__))

// A macro does not expand itself: each step leaves the name of the next one, which a further scan of the text expands.
#define ZTA_FOR_EACH_NEXT(macro, fixed, first, ...)                                                                    \
    macro(fixed, first) __VA_OPT__(ZTA_FOR_EACH_NAME ZTA_NO_ARGUMENTS(macro, fixed, __VA_ARGS__))
#define ZTA_FOR_EACH_NAME() ZTA_FOR_EACH_NEXT
#define ZTA_NO_ARGUMENTS ()
#define ZTA_RESCAN(...) ZTA_RESCAN_25(ZTA_RESCAN_25(ZTA_RESCAN_25(ZTA_RESCAN_25(__VA_ARGS__))))
#define ZTA_RESCAN_25(...) ZTA_RESCAN_5(ZTA_RESCAN_5(ZTA_RESCAN_5(ZTA_RESCAN_5(ZTA_RESCAN_5(__VA_ARGS__)))))
#define ZTA_RESCAN_5(...) ZTA_SCAN(ZTA_SCAN(ZTA_SCAN(ZTA_SCAN(ZTA_SCAN(__VA_ARGS__)))))
#define ZTA_SCAN(...) __VA_ARGS__
