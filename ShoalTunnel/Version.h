// The version of the library whose headers a host was compiled with. The build takes the project's
// version from this file, so the package, the pkg-config file and the libraries have the same one.
#pragma once

#define TCAM_SHARING_VERSION_MAJOR 0
#define TCAM_SHARING_VERSION_MINOR 1
#define TCAM_SHARING_VERSION_PATCH 0
#define TCAM_SHARING_VERSION "0.1.0"
