# The Debian packages that "cpack -G DEB" makes in the build folder: the library, what is needed to build against it,
# and the command.
set(CPACK_PACKAGE_VENDOR "Vellora")
set(CPACK_PACKAGE_CONTACT "Vellora maintainers <maintainers@users.noreply.c-seed-10b26768.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# Folders that others may read, whatever the mask of whoever packs.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(packages library dev command)
if(TARGET vellora_c)
  list(APPEND packages c cdev)
endif()
if(TARGET vellora_jar)
  list(APPEND packages java)
endif()
if(TARGET vellora_wheel)
  list(APPEND packages python)
endif()
set(CPACK_COMPONENTS_ALL ${packages})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME "libvellora${VELLORA_ABI}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "${PROJECT_DESCRIPTION}
 Vellora tells an app what the object types of a business-records server look
 like: labels, colours, icons, search columns, headline fields. It answers from
 a cache, offline too. This package holds the shared libraries.")
# The linker's cache learns of the libraries.
file(WRITE "${PROJECT_BINARY_DIR}/packaging/triggers" "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/packaging/triggers")
# The host kit's library finds its own library in the same package.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libvellora-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_DESCRIPTION "Files to build against Vellora
 Headers, archives, and what CMake and pkg-config need to find them, for the
 library, its ready-made host and its test kit.")
string(CONCAT CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
  "libvellora${VELLORA_ABI} (= ${PROJECT_VERSION}), "
  "libboost-json1.81-dev, libboost-url1.81-dev, libsimdjson-dev, "
  "libcurl4-openssl-dev, libssl-dev, libsqlite3-dev, zlib1g-dev, libspdlog-dev")
if(TARGET vellora_redishost)
  string(APPEND CPACK_DEBIAN_DEV_PACKAGE_DEPENDS ", libhiredis-dev")
endif()
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "libgtest-dev")

set(CPACK_DEBIAN_COMMAND_PACKAGE_NAME vellora)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SUGGESTS "bash-completion")
set(CPACK_DEBIAN_COMMAND_DESCRIPTION "Look at the metadata of a business-records server
 The command vellora tells what the object types of a records server look like,
 as tables or as JSON, and looks after the cache files that it answers from.")

set(CPACK_DEBIAN_C_PACKAGE_NAME "libvellora-c${VELLORA_C_ABI}")
set(CPACK_DEBIAN_C_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_C_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/packaging/triggers")
set(CPACK_DEBIAN_C_DESCRIPTION "${PROJECT_DESCRIPTION}, for C
 Vellora tells an app what the object types of a business-records server look
 like. This package holds the library for programs in C and for what can call
 C.")

set(CPACK_DEBIAN_CDEV_PACKAGE_NAME libvellora-c-dev)
set(CPACK_DEBIAN_CDEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_CDEV_PACKAGE_DEPENDS "libvellora-c${VELLORA_C_ABI} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_CDEV_DESCRIPTION "Files to build C programs against Vellora
 The header vellora.h, and what CMake and pkg-config need to find it.")

# What the jar has inside needs the libraries that this package depends on.
set(CPACK_DEBIAN_JAVA_PACKAGE_NAME libvellora-java)
set(CPACK_DEBIAN_JAVA_PACKAGE_SECTION java)
set(CPACK_DEBIAN_JAVA_PACKAGE_DEPENDS "libvellora-c${VELLORA_C_ABI} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_JAVA_PACKAGE_RECOMMENDS "default-jre-headless | java11-runtime-headless")
set(CPACK_DEBIAN_JAVA_DESCRIPTION "${PROJECT_DESCRIPTION}, for Java
 Vellora tells an app what the object types of a business-records server look
 like. This package holds vellora.jar, for programs in Java and Kotlin.")

# One for every processor: the library that it loads is that of the package for C.
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-vellora)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.11), libvellora-c${VELLORA_C_ABI} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
  "${PROJECT_SOURCE_DIR}/packaging/python/postinst;${PROJECT_SOURCE_DIR}/packaging/python/prerm")
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "${PROJECT_DESCRIPTION}, for Python
 Vellora tells an app what the object types of a business-records server look
 like. This package holds the module vellora for Python 3.")

# Every package says under which terms it comes and what has changed; the compressed form without a time stamp.
find_program(GZIP_PROGRAM gzip REQUIRED)
add_custom_command(OUTPUT packaging/changelog.gz packaging/vellora.1.gz
  COMMAND "${GZIP_PROGRAM}" -9nc "${PROJECT_SOURCE_DIR}/CHANGELOG.md" > packaging/changelog.gz
  COMMAND "${GZIP_PROGRAM}" -9nc "${PROJECT_SOURCE_DIR}/packaging/vellora.1" > packaging/vellora.1.gz
  DEPENDS "${PROJECT_SOURCE_DIR}/CHANGELOG.md" "${PROJECT_SOURCE_DIR}/packaging/vellora.1"
  WORKING_DIRECTORY "${PROJECT_BINARY_DIR}" VERBATIM)
add_custom_target(vellora_package_texts ALL DEPENDS packaging/changelog.gz packaging/vellora.1.gz)
add_dependencies(vellora-installed vellora_package_texts)
foreach(component IN LISTS packages)
  string(TOUPPER ${component} upper)
  set(folder "${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
  install(FILES packaging/copyright DESTINATION "${folder}" COMPONENT ${component})
  install(FILES "${PROJECT_BINARY_DIR}/packaging/changelog.gz" DESTINATION "${folder}" COMPONENT ${component})
endforeach()

include(CPack)
