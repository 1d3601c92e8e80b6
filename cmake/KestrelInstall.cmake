# Installs the headers, the shared libraries and a CMake package, so that another project can write
#   find_package(KTXService_InformationTheory CONFIG REQUIRED)
#   target_link_libraries(app PRIVATE Kestrel::InformationTheory)
# and non-CMake users get a pkg-config file.
include(CMakePackageConfigHelpers)

set(KESTREL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KTXService_InformationTheory)
get_property(platform_targets GLOBAL PROPERTY KESTREL_PLATFORM_TARGETS)
get_property(platform_header_dirs GLOBAL PROPERTY KESTREL_PLATFORM_HEADER_DIRS)

install(TARGETS KTXService_InformationTheory ${platform_targets}
        EXPORT KTXService_InformationTheoryTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
foreach(header_dir IN LISTS platform_header_dirs)
    install(DIRECTORY ${header_dir}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endforeach()

install(EXPORT KTXService_InformationTheoryTargets
        NAMESPACE Kestrel::
        DESTINATION ${KESTREL_CMAKE_DIR})
configure_package_config_file(cmake/KTXService_InformationTheoryConfig.cmake.in
        ${CMAKE_CURRENT_BINARY_DIR}/KTXService_InformationTheoryConfig.cmake
        INSTALL_DESTINATION ${KESTREL_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/KTXService_InformationTheoryConfigVersion.cmake
        COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KTXService_InformationTheoryConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/KTXService_InformationTheoryConfigVersion.cmake
        DESTINATION ${KESTREL_CMAKE_DIR})

configure_file(cmake/KTXService_InformationTheory.pc.in
        ${CMAKE_CURRENT_BINARY_DIR}/KTXService_InformationTheory.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KTXService_InformationTheory.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
