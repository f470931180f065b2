# What a program that is linked with a library of this project relies on: the SONAME, and the version
# of the exported symbols.
configure_file(cmake/symbols.map.in symbols.map @ONLY)

function(set_abi library)
   set_target_properties(${library} PROPERTIES
      VERSION ${PROJECT_VERSION} SOVERSION ${TCAM_SHARING_ABI}
      LINK_DEPENDS ${PROJECT_BINARY_DIR}/symbols.map)
   target_link_options(${library} PRIVATE
      LINKER:--version-script=${PROJECT_BINARY_DIR}/symbols.map)
   # For scripts/check-abi, which needs to know types but not where variables are. The packages are
   # stripped.
   if(TCAM_SHARING_PACKAGES)
      target_compile_options(${library} PRIVATE -g -fno-var-tracking)
   endif()
endfunction()
