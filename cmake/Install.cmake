# Install rules: headers under include/kstypemgr/, both libraries, the tool,
# a CMake package (KsTypeMgr::) and a pkg-config file. Everything is
# relocatable, so `cmake --install --prefix <dir>` works for any <dir>.
include(CMakePackageConfigHelpers)

set(KSTM_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KsTypeMgr)

install(FILES ${KSTM_PUBLIC_HEADERS}
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kstypemgr)

install(TARGETS kstypemgr kstypemgr_static
  EXPORT KsTypeMgrTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

if(TARGET kstm)
  install(TARGETS kstm RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(EXPORT KsTypeMgrTargets
  NAMESPACE KsTypeMgr::
  FILE KsTypeMgrTargets.cmake
  DESTINATION ${KSTM_CMAKE_DIR})

configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/KsTypeMgrConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/KsTypeMgrConfig.cmake
  INSTALL_DESTINATION ${KSTM_CMAKE_DIR})
write_basic_package_version_file(
  ${CMAKE_CURRENT_BINARY_DIR}/KsTypeMgrConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/KsTypeMgrConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/KsTypeMgrConfigVersion.cmake
  DESTINATION ${KSTM_CMAKE_DIR})

# pkg-config: the prefix is found from the .pc file's own place.
set(KSTM_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH KSTM_PC_TO_PREFIX
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" KSTM_PC_TO_PREFIX "${KSTM_PC_TO_PREFIX}")
foreach(d LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${d}}")
    set(KSTM_PC_${d} "${CMAKE_INSTALL_${d}}")
  else()
    set(KSTM_PC_${d} "\${prefix}/${CMAKE_INSTALL_${d}}")
  endif()
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/kstypemgr.pc.in
  ${CMAKE_CURRENT_BINARY_DIR}/kstypemgr.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kstypemgr.pc DESTINATION ${KSTM_PC_DIR})
