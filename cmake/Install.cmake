# What `cmake --install` puts under the prefix, for C and C++ hosts:
#   lib/      libom1 (the core), libKVCT64u, libom1platform, libom1c (the C
#             interface, which holds the layers above the core), and the
#             layers as static archives for C++ hosts of the pipeline
#   include/  om1c.h and om1types.h (C)
#   include/om1/  the C++ headers of the pipeline (om1::vectorize, Result,
#             Hooks, OptionTable) with the few layer and core headers they
#             include, and the core's entry points (interface/om1.h)
#   lib/cmake/om1/  the package: find_package(om1 CONFIG) gives om1::om1
#             (C++: the pipeline and the core) and om1::om1c (C)
#   lib/pkgconfig/om1c.pc
include(CMakePackageConfigHelpers)

set(OM1_INSTALL_CXX_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/om1)
set(OM1_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/om1)

# The C++ headers a host includes, and every header they include; the
# consumer test (tests/install) builds against exactly these.
set(OM1_HOST_HEADERS
    pipeline/Vectorize.h pipeline/Hooks.h pipeline/Picture.h pipeline/Result.h
    pipeline/OptionTable.h pipeline/om1types.h
    prepare/RegionTree.h prepare/TraceReport.h shapes/CrackCodes.h shapes/CrackLoop.h
    shapes/CurveList.h shapes/LoopList.h shapes/OutputOptions.h shapes/PointD.h
    shapes/Shape.h writers/OutputFormat.h)
# Core headers, installed with the path they are included by ("interface/om1.h").
set(OM1_HOST_CORE_HEADERS
    interface/om1.h interface/Om1Export.h companion/KvCtree.h platform/WinTypes.h)

# Include paths: the source tree while building, include/om1 once installed.
foreach(target om1 KVCT64u om1platform)
    set_property(TARGET ${target} PROPERTY INTERFACE_INCLUDE_DIRECTORIES
                 $<BUILD_INTERFACE:${OM1_CORE_INCLUDE}> $<INSTALL_INTERFACE:${OM1_INSTALL_CXX_INCLUDEDIR}>)
endforeach()
foreach(target om1prepare om1shapes om1writers om1pipeline)
    set_property(TARGET ${target} PROPERTY INTERFACE_INCLUDE_DIRECTORIES
                 $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${OM1_INSTALL_CXX_INCLUDEDIR}>)
endforeach()
set_property(TARGET om1c PROPERTY INTERFACE_INCLUDE_DIRECTORIES
             $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/frontends/c>
             $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/pipeline>
             $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

# om1::om1 for C++ hosts: the pipeline, the layers under it and the core.
add_library(om1host INTERFACE)
target_link_libraries(om1host INTERFACE om1pipeline)
target_compile_features(om1host INTERFACE cxx_std_17)

# Exported names: om1::om1 and om1::om1c for hosts, the parts under om1::.
set_target_properties(om1host PROPERTIES EXPORT_NAME om1)
set_target_properties(om1 PROPERTIES EXPORT_NAME core)
set_target_properties(om1platform PROPERTIES EXPORT_NAME platform)
set_target_properties(om1prepare PROPERTIES EXPORT_NAME prepare)
set_target_properties(om1shapes PROPERTIES EXPORT_NAME shapes)
set_target_properties(om1writers PROPERTIES EXPORT_NAME writers)
set_target_properties(om1pipeline PROPERTIES EXPORT_NAME pipeline)

# Only the intended names leave the shared libraries (tests/install checks
# them): the C interface exports its om1_ functions alone; the core libraries
# their marked classes and functions, none of the standard library's
# template instances that their code happens to use.
if(NOT WIN32)
    target_link_options(om1c PRIVATE -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/om1c.map)
    set_property(TARGET om1c APPEND PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/om1c.map)
    foreach(target om1 KVCT64u om1platform)
        target_link_options(${target} PRIVATE
                            -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/core.map)
        set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS
                     ${PROJECT_SOURCE_DIR}/cmake/core.map)
    endforeach()
endif()

install(TARGETS om1 KVCT64u om1platform om1c om1host om1pipeline om1prepare om1shapes om1writers
        EXPORT om1Targets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES frontends/c/om1c.h pipeline/om1types.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
foreach(header IN LISTS OM1_HOST_HEADERS)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${header} DESTINATION ${OM1_INSTALL_CXX_INCLUDEDIR}/${folder})
endforeach()
foreach(header IN LISTS OM1_HOST_CORE_HEADERS)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES core/${header} DESTINATION ${OM1_INSTALL_CXX_INCLUDEDIR}/${folder})
endforeach()

install(EXPORT om1Targets NAMESPACE om1:: DESTINATION ${OM1_INSTALL_CMAKEDIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/om1Config.cmake.in
                              ${PROJECT_BINARY_DIR}/om1Config.cmake
                              INSTALL_DESTINATION ${OM1_INSTALL_CMAKEDIR})
# 0.x: a minor release may change the interface, so only the same minor version matches.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/om1ConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/om1Config.cmake ${PROJECT_BINARY_DIR}/om1ConfigVersion.cmake
        DESTINATION ${OM1_INSTALL_CMAKEDIR})

# The prefix is found from the file's own place, so an install can be moved
# (and installed with --prefix elsewhere than configured).
file(RELATIVE_PATH OM1_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" OM1_PC_PREFIX "${OM1_PC_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/om1c.pc.in ${PROJECT_BINARY_DIR}/om1c.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/om1c.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
