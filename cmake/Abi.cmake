# What a program that is linked with a library of this project relies on: the SONAME, and the version
# of the exported symbols.
configure_file(cmake/symbols.map.in symbols.map @ONLY)

function(set_abi library)
   set_target_properties(${library} PROPERTIES
      VERSION ${PROJECT_VERSION} SOVERSION ${TCAM_SHARING_ABI}
      LINK_DEPENDS ${PROJECT_BINARY_DIR}/symbols.map)
   target_link_options(${library} PRIVATE
      LINKER:--version-script=${PROJECT_BINARY_DIR}/symbols.map)
endfunction()
