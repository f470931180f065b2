// The version of the library. The build reads it from this file, so that the CMake package, the
// pkg-config file and the libraries have the same one.
#pragma once

#define TCAM_SHARING_VERSION_MAJOR 0
#define TCAM_SHARING_VERSION_MINOR 1
#define TCAM_SHARING_VERSION_PATCH 0
#define TCAM_SHARING_VERSION "0.1.0"
