# Install tree: libraries, headers, the CMake package OrvDemosaicing (targets Orv::Demosaicing,
# Orv::Helpers) and pkg-config files.
include(CMakePackageConfigHelpers)

set(ORV_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/OrvDemosaicing)
set(ORV_INSTALLED OrvDemosaicing OrvHelpers)
if(TARGET OrvMisc)
  list(APPEND ORV_INSTALLED OrvMisc)
  install(FILES misc/OrvParamStorage.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orv COMPONENT development)
endif()
install(TARGETS ${ORV_INSTALLED} EXPORT OrvDemosaicingTargets 
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(FILES include/OrvVersion.h include/OrvImage.h include/OrvComponent.h include/OrvBayer.h
              include/OrvTrueSense.h helpers/OrvHelpers.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orv COMPONENT development)
install(EXPORT OrvDemosaicingTargets NAMESPACE Orv:: DESTINATION ${ORV_CMAKE_DIR} COMPONENT development)

configure_package_config_file(cmake/OrvDemosaicingConfig.cmake.in
  ${PROJECT_BINARY_DIR}/OrvDemosaicingConfig.cmake INSTALL_DESTINATION ${ORV_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/OrvDemosaicingConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/OrvDemosaicingConfig.cmake
              ${PROJECT_BINARY_DIR}/OrvDemosaicingConfigVersion.cmake
        DESTINATION ${ORV_CMAKE_DIR} COMPONENT development)

# From lib/pkgconfig back to the prefix, so that the tree may be moved.
file(RELATIVE_PATH ORV_PC_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(name IN ITEMS OrvDemosaicing OrvHelpers)
  configure_file(cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()
