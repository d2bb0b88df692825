# What is installed: the library as one file in each form, its headers, and what finds them. Included last, since it
# asks the folders' targets for their sources and headers.
#
# Both forms are made of the objects that the folders' archives are made of, so a form costs a link, no compilation.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

# Before 1.0 a minor version may break what was linked against the one before; see docs/public-api.md.
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(VELLORA_ABI "0.${PROJECT_VERSION_MINOR}")
  set(VELLORA_COMPATIBILITY SameMinorVersion)
else()
  set(VELLORA_ABI "${PROJECT_VERSION_MAJOR}")
  set(VELLORA_COMPATIBILITY SameMajorVersion)
endif()
# A folder of our own, so that "hostkit/…" and "testkit/…" meet nobody else's.
set(VELLORA_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/vellora-${VELLORA_ABI}")
set(VELLORA_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/Vellora")
set(VELLORA_PKGCONFIGDIR "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# Builds what is installed, and no tests.
add_custom_target(vellora-installed)

set(layers vellora_platform vellora_host vellora_models vellora_dataservices vellora_services vellora_catalog)
set(kits vellora_testkit)
if(VELLORA_BUILD_HOSTKIT)
  list(APPEND kits vellora_hostkit)
endif()
if(TARGET vellora_redishost)
  list(APPEND kits vellora_redishost)
endif()
if(VELLORA_BUILD_CONFORMANCE)
  list(APPEND kits vellora_conformance)
endif()

# vellora_install(<target> <Component>): installs a library with the CMake file that a component of the package
# includes; <Component> is the library's name behind "Vellora::", with its form where there are two.
function(vellora_install target component)
  string(REGEX REPLACE "(Static|Shared)$" "" name "${component}")
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  add_dependencies(vellora-installed ${target})
  install(TARGETS ${target} EXPORT Vellora${component}Targets
    FILE_SET HEADERS DESTINATION "${VELLORA_INCLUDEDIR}" COMPONENT dev
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT dev
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT library NAMELINK_COMPONENT dev)
  install(EXPORT Vellora${component}Targets NAMESPACE Vellora:: DESTINATION "${VELLORA_CMAKEDIR}" COMPONENT dev)
endfunction()

# What of <targets…> is linked besides our own: packages that a static form hands on to its users.
function(vellora_packages_of result)
  set(packages "")
  foreach(target IN LISTS ARGN)
    get_target_property(libraries ${target} LINK_LIBRARIES)
    list(FILTER libraries INCLUDE REGEX "^[A-Za-z0-9]+::")
    list(APPEND packages ${libraries})
  endforeach()
  list(REMOVE_DUPLICATES packages)
  list(REMOVE_ITEM packages Boost::headers)
  set(${result} "${packages}" PARENT_SCOPE)
endfunction()

# A library of all objects of <targets…>, with their headers.
function(vellora_joined_library target type name)
  add_library(${target} ${type})
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${name} LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION} SOVERSION ${VELLORA_ABI})
  target_compile_features(${target} INTERFACE cxx_std_20)
  foreach(part IN LISTS ARGN)
    get_target_property(headers ${part} HEADER_SET)
    target_sources(${target}
      PRIVATE $<TARGET_OBJECTS:${part}>
      PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${headers})
  endforeach()
  vellora_packages_of(packages ${ARGN})
  target_link_libraries(${target} PRIVATE ${packages} $<BUILD_INTERFACE:vellora_build_flags>)
  if(type STREQUAL SHARED)
    set(map "${PROJECT_SOURCE_DIR}/cmake/exports.map")
    # It stays in the process once it is loaded: nobody can wait for the threads that all its users share.
    target_link_options(${target} PRIVATE LINKER:--version-script=${map} LINKER:-z,nodelete)
    vellora_link_compactly(${target})
    if(NOT VELLORA_SANITIZE)
      target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
    set_target_properties(${target} PROPERTIES LINK_DEPENDS "${map}")
  endif()
endfunction()

if(VELLORA_STATIC)
  vellora_joined_library(vellora_static STATIC vellora ${layers})
  vellora_install(vellora_static VelloraStatic)
  if(VELLORA_BUILD_HOSTKIT)
    vellora_install(vellora_hostkit HostKitStatic)
  endif()
  if(TARGET vellora_redishost)
    vellora_install(vellora_redishost RedisHostStatic)
  endif()
endif()
if(VELLORA_SHARED)
  vellora_joined_library(vellora_shared SHARED vellora ${layers})
  vellora_install(vellora_shared VelloraShared)
  if(VELLORA_BUILD_HOSTKIT)
    vellora_joined_library(vellora_hostkit_shared SHARED vellora-hostkit vellora_hostkit)
    target_link_libraries(vellora_hostkit_shared PUBLIC vellora_shared)
    vellora_install(vellora_hostkit_shared HostKitShared)
  endif()
  if(TARGET vellora_redishost)
    vellora_joined_library(vellora_redishost_shared SHARED vellora-redishost vellora_redishost)
    target_link_libraries(vellora_redishost_shared PUBLIC vellora_shared)
    vellora_install(vellora_redishost_shared RedisHostShared)
  endif()
endif()
# Only tests link these, so one form is enough.
vellora_install(vellora_testkit TestKit)
if(VELLORA_BUILD_CONFORMANCE)
  vellora_install(vellora_conformance HostConformance)
endif()

# The library for C has all of ours inside, hence a package of its own: find_package(VelloraC) gives Vellora::C.
if(TARGET vellora_c)
  set(VELLORA_C_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/vellora-c-${VELLORA_C_ABI}")
  set_target_properties(vellora_c PROPERTIES EXPORT_NAME C)
  add_dependencies(vellora-installed vellora_c)
  install(TARGETS vellora_c EXPORT VelloraCTargets
    FILE_SET HEADERS DESTINATION "${VELLORA_C_INCLUDEDIR}" COMPONENT cdev
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT c NAMELINK_COMPONENT cdev)
  install(EXPORT VelloraCTargets FILE VelloraCConfig.cmake NAMESPACE Vellora::
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/VelloraC" COMPONENT cdev)
  write_basic_package_version_file("${PROJECT_BINARY_DIR}/VelloraCConfigVersion.cmake"
    VERSION ${VELLORA_C_ABI}.${PROJECT_VERSION_MINOR} COMPATIBILITY SameMajorVersion)
  install(FILES "${PROJECT_BINARY_DIR}/VelloraCConfigVersion.cmake"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/VelloraC" COMPONENT cdev)
endif()

if(TARGET vellora_jar)
  get_target_property(jar vellora_jar JAR_FILE)
  install(FILES "${jar}" DESTINATION "${CMAKE_INSTALL_DATADIR}/java" COMPONENT java)
endif()

# Where Debian's packages for every Python 3 are. The library is not beside it, but that of the package for C.
if(TARGET vellora_wheel)
  get_target_property(package vellora_wheel PACKAGE_FOLDER)
  install(DIRECTORY "${package}/" DESTINATION lib/python3/dist-packages COMPONENT python
    FILES_MATCHING PATTERN "*.py" PATTERN "py.typed" PATTERN "METADATA" PATTERN "__pycache__" EXCLUDE)
endif()

configure_package_config_file(cmake/VelloraConfig.cmake.in "${PROJECT_BINARY_DIR}/VelloraConfig.cmake"
  INSTALL_DESTINATION "${VELLORA_CMAKEDIR}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/VelloraConfigVersion.cmake"
  COMPATIBILITY ${VELLORA_COMPATIBILITY})
install(FILES "${PROJECT_BINARY_DIR}/VelloraConfig.cmake" "${PROJECT_BINARY_DIR}/VelloraConfigVersion.cmake"
  DESTINATION "${VELLORA_CMAKEDIR}" COMPONENT dev)

# For whoever reads answers as JSON.
install(DIRECTORY docs/schemas DESTINATION "${CMAKE_INSTALL_DATADIR}/vellora-${VELLORA_ABI}" COMPONENT dev)

# The prefix is found from where a .pc file lies, so that the package may be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}/${VELLORA_PKGCONFIGDIR}"
  OUTPUT_VARIABLE VELLORA_PREFIX_FROM_PKGCONFIGDIR)
foreach(target IN ITEMS vellora_platform ${kits})
  string(REPLACE "_" "-" name ${target})
  string(REPLACE "-platform" "" name ${name})
  configure_file("packaging/${name}.pc.in" "${PROJECT_BINARY_DIR}/${name}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${name}.pc" DESTINATION "${VELLORA_PKGCONFIGDIR}" COMPONENT dev)
endforeach()

if(TARGET vellora_c)
  configure_file(packaging/vellora-c.pc.in "${PROJECT_BINARY_DIR}/vellora-c.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/vellora-c.pc" DESTINATION "${VELLORA_PKGCONFIGDIR}" COMPONENT cdev)
endif()

if(VELLORA_BUILD_APPS)
  add_dependencies(vellora-installed vellora)
  install(TARGETS vellora RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT command)
  install(FILES "${PROJECT_BINARY_DIR}/packaging/vellora.1.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT command)
  install(FILES packaging/completions/vellora DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
    COMPONENT command)
  install(FILES packaging/completions/_vellora DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions"
    COMPONENT command)
  install(FILES packaging/completions/vellora.fish DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d"
    COMPONENT command)
endif()

include(VelloraPackages)
