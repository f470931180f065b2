# Installs the pkg-config files. `runtimePath` are the options by which a host finds the libraries;
# the arguments go to install().
function(install_pkg_config)
   set(headerDir ${CMAKE_INSTALL_INCLUDEDIR}/TcamSharing)
   set(pkgConfigDir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
   # The files find their prefix from their own place, so that the tree may be moved.
   file(RELATIVE_PATH prefixFromPkgConfigDir
      ${CMAKE_INSTALL_PREFIX}/${pkgConfigDir} ${CMAKE_INSTALL_PREFIX})
   foreach(package IN ITEMS TcamSharing ShoalHost)
      configure_file(${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in ${package}.pc @ONLY)
      install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${package}.pc DESTINATION ${pkgConfigDir}
         COMPONENT development ${ARGN})
   endforeach()
endfunction()
