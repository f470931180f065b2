// Marks the symbols that the library exports. All others are hidden.
#pragma once

#define TCAM_SHARING_EXPORT __attribute__((visibility("default")))
