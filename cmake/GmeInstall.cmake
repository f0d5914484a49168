# Installation: `cmake --install build --prefix P` puts the commands in P/bin, the public
# headers in P/include/gme, the static libraries (named libgme*.a, so that they do not
# clash with other software in P/lib), a CMake package (find_package(gme CONFIG) gives
# gme::gme) and gme.pc for pkg-config in P/lib, and the Python module, when it was built,
# into the system interpreter's site-packages under P. Every path below is relative to
# the prefix, so that --prefix decides where everything goes.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The libraries behind gme::gme, each before those it uses: this is also the link order
# of gme.pc. The target gmelib is the library users name (gme::gme, -lgme).
set(GME_PACKAGE_LIBRARIES gmelib estimation segmentation motion image vids numeric)
set(GME_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/gme)

set(GME_PKGCONFIG_LIBS "")
foreach(lib IN LISTS GME_PACKAGE_LIBRARIES)
  if(lib STREQUAL "gmelib")
    set(file gme)
    set_target_properties(${lib} PROPERTIES EXPORT_NAME gme)
  else()
    set(file gme_${lib})
  endif()
  # Position-independent code: the Python module and users' shared libraries link them.
  set_target_properties(${lib} PROPERTIES OUTPUT_NAME ${file} POSITION_INDEPENDENT_CODE ON)
  string(APPEND GME_PKGCONFIG_LIBS " -l${file}")
  # The source tree is the include directory of the build only; installed targets get
  # the install's include directory from install(TARGETS ... INCLUDES) below.
  get_target_property(dirs ${lib} INTERFACE_INCLUDE_DIRECTORIES)
  if(dirs)
    list(TRANSFORM dirs REPLACE "^(/.*)$" "$<BUILD_INTERFACE:\\1>")
    set_target_properties(${lib} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${dirs}")
  endif()
endforeach()
# gme/SequenceEstimator.h needs C++17 (std::optional) in every program that includes it.
target_compile_features(gmelib INTERFACE cxx_std_17)

install(TARGETS gme vidstool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(PROGRAMS ${PROJECT_SOURCE_DIR}/tools/plot/gme-plot ${PROJECT_SOURCE_DIR}/tools/batch/gme-batch
        DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS ${GME_PACKAGE_LIBRARIES} EXPORT gmeTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/gme/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/gme
        FILES_MATCHING PATTERN "*.h")

install(EXPORT gmeTargets NAMESPACE gme:: DESTINATION ${GME_PACKAGE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/gmeConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/gmeConfig.cmake
                              INSTALL_DESTINATION ${GME_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/gmeConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/gmeConfig.cmake ${PROJECT_BINARY_DIR}/gmeConfigVersion.cmake
        DESTINATION ${GME_PACKAGE_DIR})

# gme.pc finds the prefix from its own place, so it holds for any --prefix.
file(RELATIVE_PATH GME_PKGCONFIG_PREFIX "/p/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/p")
string(REGEX REPLACE "/$" "" GME_PKGCONFIG_PREFIX "${GME_PKGCONFIG_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/gme.pc.in ${PROJECT_BINARY_DIR}/gme.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/gme.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(TARGET gme_python)
  install(TARGETS gme_python LIBRARY DESTINATION ${GME_PYTHON_INSTALL_DIR})
endif()
