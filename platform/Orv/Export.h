// Marks what a shared library with entities offers to others; everything else stays hidden.
#pragma once

#define ORV_EXPORT __attribute__((visibility("default")))
