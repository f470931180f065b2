// Marks what the library offers to other shared objects; everything else stays hidden.
#pragma once

#define TCAM_SHARING_EXPORT __attribute__((visibility("default")))
