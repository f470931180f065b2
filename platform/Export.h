// Marks what the platform library offers to other shared objects; everything else stays hidden.
#pragma once

#define ORV_EXPORT __attribute__((visibility("default")))
