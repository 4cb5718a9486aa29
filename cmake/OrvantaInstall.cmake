include(CMakePackageConfigHelpers)

install(TARGETS orvanta orvanta_testing EXPORT OrvantaTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/orvanta DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT OrvantaTargets NAMESPACE Orvanta:: FILE OrvantaTargets.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Orvanta)

configure_package_config_file(cmake/OrvantaConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/OrvantaConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Orvanta)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/OrvantaConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/OrvantaConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/OrvantaConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Orvanta)

# The .pc file finds the prefix from where it lies, so installing with
# --prefix elsewhere still gives right paths.
file(RELATIVE_PATH ORVANTA_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/orvanta.pc.in ${CMAKE_CURRENT_BINARY_DIR}/orvanta.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/orvanta.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
