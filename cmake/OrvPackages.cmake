# Debian packages of the install tree's components, by CPack: `./build.sh packages`.
include(GNUInstallDirs)

# What the owner alone can give: no licence is granted, so there is no copyright file; there is no address to write to, nor
# a list of wishes for packages that a first version could close. Here, and nowhere else, lintian is overruled.
set(CPACK_PACKAGE_CONTACT "libOrvDemosaicing developers <developers@orvdemosaicing.invalid>")
set(ORV_OVERRIDES no-copyright-file initial-upload-closes-no-bugs)

foreach(program orv-convert orv-grab gstorvdemosaic)
  if(NOT TARGET ${program})
    message(FATAL_ERROR "Packages have all parts, but ${program} is not built")
  endif()
endforeach()
find_program(ORV_HELP2MAN help2man REQUIRED)
find_program(ORV_GZIP gzip REQUIRED)

set(runtime liborvdemosaicing${PROJECT_VERSION_MAJOR})
set(development liborvdemosaicing-dev)
set(tools orvdemosaicing-tools)
set(gstreamer gstreamer1.0-orvdemosaic)
set(python python3-orvdemosaicing)
set(CPACK_COMPONENTS_ALL runtime development tools gstreamer python)

set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "colour from raw frames of single-sensor cameras
Turns Bayer and TrueSense mosaics of 8 to 16 bits into colour images, in the
process of the application. Pixels are the same bits on every processor and
with any number of threads.

This package has the shared libraries libOrvDemosaicing, libOrvHelpers
(formats, packed frames, parameters for C) and libOrvMisc.")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "colour from raw frames of single-sensor cameras - development files
Turns Bayer and TrueSense mosaics of 8 to 16 bits into colour images, in the
process of the application.

This package has headers for C99 and C++11, the CMake package OrvDemosaicing,
pkg-config files, documentation and two small examples.")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "colour from raw frames of single-sensor cameras - tools
orv-convert turns raw, PGM, PNG and TIFF mosaics into pictures, orv-grab the
frames of GigE Vision and USB3 Vision cameras.")
set(CPACK_DEBIAN_GSTREAMER_DESCRIPTION "GStreamer element for raw frames of single-sensor cameras
The element orvdemosaic converts Bayer frames (video/x-bayer) and TrueSense
frames to colour.")
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "colour from raw frames of single-sensor cameras - Python
The module orvdemosaicing converts Bayer and TrueSense mosaics in numpy
arrays, and unpacks the formats of cameras.")

# CPack of this age knows no field for it, and writes what follows a section as it stands.
set(same "\nMulti-Arch: same")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION "libs${same}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION "libdevel${same}")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_SECTION "libs${same}")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)

# Programs need the libraries by what dpkg-shlibdeps finds and these.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ${PROJECT_BINARY_DIR}/src ${PROJECT_BINARY_DIR}/helpers ${PROJECT_BINARY_DIR}/misc)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
foreach(component DEVELOPMENT TOOLS GSTREAMER)
  set(CPACK_COMPONENT_${component}_DEPENDS runtime)
endforeach()
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${runtime} (>= ${PROJECT_VERSION}), python3:any, python3-numpy")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS python3-distributed)

# Scripts of packages.
set(scripts ${PROJECT_BINARY_DIR}/packages)
file(WRITE ${scripts}/runtime/triggers "activate-noawait ldconfig\n")
# Named, though they do not exist, so that CPack writes none that call ldconfig.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${scripts}/runtime/triggers ${scripts}/runtime/postinst ${scripts}/runtime/postrm)
file(WRITE ${scripts}/python/postinst "#!/bin/sh\nset -e\nif [ \"$1\" = configure ]; then\n    py3compile -p ${python}\nfi\n")
file(WRITE ${scripts}/python/prerm "#!/bin/sh\nset -e\npy3clean -p ${python}\n")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${scripts}/python/postinst ${scripts}/python/prerm)

# orv_compress(PATH): PATH.gz, the same bytes each time.
function(orv_compress path)
  execute_process(COMMAND ${ORV_GZIP} -9nc ${path} OUTPUT_FILE ${path}.gz COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS CHANGELOG.md)
file(STRINGS CHANGELOG.md released REGEX "^## ${PROJECT_VERSION} - ")
string(REGEX REPLACE ".* - " "" released "${released}")
execute_process(COMMAND date -u -R -d "${released}" OUTPUT_VARIABLE released OUTPUT_STRIP_TRAILING_WHITESPACE
                COMMAND_ERROR_IS_FATAL ANY)
configure_file(CHANGELOG.md ${scripts}/changelog COPYONLY)
file(WRITE ${scripts}/changelog.Debian "liborvdemosaicing (${PROJECT_VERSION}-1) unstable; urgency=medium

  * Version ${PROJECT_VERSION}: see changelog.gz.

 -- ${CPACK_PACKAGE_CONTACT}  ${released}
")
orv_compress(${scripts}/changelog)
orv_compress(${scripts}/changelog.Debian)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  set(package ${${component}})
  string(TOUPPER ${component} COMPONENT)
  set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME ${package})
  install(FILES ${scripts}/changelog.gz ${scripts}/changelog.Debian.gz
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
  list(TRANSFORM ORV_OVERRIDES PREPEND "${package}: " OUTPUT_VARIABLE overrides)
  list(JOIN overrides "\n" overrides)
  file(WRITE ${scripts}/overrides/${package} "${overrides}\n")
  install(FILES ${scripts}/overrides/${package}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT ${component})
endforeach()

# Manual pages say what `--help` says, examples a line each.
foreach(program orv-convert orv-grab)
  set(page ${scripts}/${program}.1)
  add_custom_command(OUTPUT ${page}.gz DEPENDS ${program}
    COMMAND ${ORV_HELP2MAN} --no-info --version-string=${PROJECT_VERSION} --output=${page}
            "--name=colour from raw frames of single-sensor cameras" $<TARGET_FILE:${program}>
    COMMAND sed -i "/^orv.-convert \\|^camera /a .br" ${page}
    COMMAND ${ORV_GZIP} -9nf ${page} VERBATIM)
  list(APPEND pages ${page}.gz)
endforeach()
add_custom_target(orv_manual ALL DEPENDS ${pages})
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)

install(FILES README.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${development} COMPONENT development)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${development} COMPONENT development
        FILES_MATCHING PATTERN "*.md" PATTERN interface.txt PATTERN "*.png" PATTERN "*.svg")
install(DIRECTORY examples/minimal/ DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${development}/examples
        COMPONENT development FILES_MATCHING PATTERN "*.c*")

set(ORV_PYTHON_DIR lib/python3/dist-packages)
install(DIRECTORY python/orvdemosaicing DESTINATION ${ORV_PYTHON_DIR} COMPONENT python
        FILES_MATCHING PATTERN "*.py" PATTERN py.typed PATTERN __pycache__ EXCLUDE)
file(WRITE ${scripts}/METADATA
     "Metadata-Version: 2.1\nName: orvdemosaicing\nVersion: ${PROJECT_VERSION}\nRequires-Dist: numpy\n")
install(FILES ${scripts}/METADATA DESTINATION ${ORV_PYTHON_DIR}/orvdemosaicing-${PROJECT_VERSION}.dist-info
        COMPONENT python)

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE liborvdemosaicing)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
