/// What is visible outside the shared object.
#pragma once

/// Marks what belongs to the binary contract: visible outside the shared object, by name and with its type information.
#define ZTA_API __attribute__((visibility("default")))

/// Marks a member that an exported class keeps to itself.
#define ZTA_INTERNAL __attribute__((visibility("hidden")))
