/// Visibility of symbols outside the shared library.
#pragma once

/// Marks a part of the binary interface: the symbol and its type information are exported.
#define ZTA_API __attribute__((visibility("default")))

/// Marks a member of an exported class that is not exported.
#define ZTA_INTERNAL __attribute__((visibility("hidden")))
