// Marks the exported symbols of a shared library; the others are hidden.
#pragma once

#define ORV_EXPORT __attribute__((visibility("default")))
