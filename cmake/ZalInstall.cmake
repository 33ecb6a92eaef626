# find_package(ZalAttributes CONFIG) and pkg-config for the installed product.

include(CMakePackageConfigHelpers)

set(ZAL_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ZalAttributes)
install(EXPORT ZalAttributesTargets NAMESPACE Zal:: DESTINATION ${ZAL_PACKAGE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/ZalAttributesConfig.cmake.in ZalAttributesConfig.cmake
    INSTALL_DESTINATION ${ZAL_PACKAGE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(ZalAttributesConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ZalAttributesConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/ZalAttributesConfigVersion.cmake DESTINATION ${ZAL_PACKAGE_DIR})

# The .pc file names its prefix by the way back from its own folder, so that the tree can be moved.
get_property(Libraries GLOBAL PROPERTY ZAL_LIBRARIES)
list(REVERSE Libraries)   # a library before those beneath it
list(TRANSFORM Libraries PREPEND -lZal)
list(JOIN Libraries " " ZAL_PC_LIBRARIES)
file(RELATIVE_PATH ZAL_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${CMAKE_CURRENT_LIST_DIR}/zal-attributes.pc.in zal-attributes.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zal-attributes.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
