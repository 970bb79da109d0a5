# The packages: deb, rpm and tgz of all that is installed. ./dev package makes them.
set(VEL_PACKAGE_CONTACT "velguid maintainers <velguid@example.com>" CACHE STRING "Who answers for the packages")

set(sources ${CMAKE_SOURCE_DIR}/packaging)
set(made ${CMAKE_BINARY_DIR}/packaging)
configure_file(${sources}/create_guid.sh.in ${made}/create_guid.sh @ONLY)
file(READ ${made}/create_guid.sh CREATE_GUID)  # in both scripts that run after installing
foreach(file deb/postinst deb/conffiles deb/changelog rpm/post stage.cmake)
    configure_file(${sources}/${file}.in ${made}/${file} @ONLY)
endforeach()

set(CPACK_PACKAGE_NAME velguid)
set(CPACK_PACKAGE_VENDOR Velmar)
set(CPACK_PACKAGE_CONTACT ${VEL_PACKAGE_CONTACT})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Durable GUID of a host, with its logging toolkit")
set(CPACK_PACKAGE_DESCRIPTION_FILE ${sources}/description.txt)
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSE)
set(CPACK_GENERATOR DEB RPM TGZ)
set(CPACK_VERBATIM_VARIABLES ON)
# The installation directory is an absolute one: all goes into a staging root, whatever builds the package.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
set(CPACK_PRE_BUILD_SCRIPTS ${made}/stage.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "default-jre-headless, zip")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${made}/deb/postinst ${sources}/deb/prerm ${sources}/deb/postrm
    ${made}/deb/conffiles ${sources}/deb/triggers)

set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_PACKAGE_RELOCATABLE OFF)
set(CPACK_RPM_PACKAGE_LICENSE Apache-2.0)
set(CPACK_RPM_PACKAGE_GROUP System/Base)
set(CPACK_RPM_USER_FILELIST "%config(noreplace) ${VEL_INSTALL_DIRECTORY}/velguid.properties")
# What rpm would take for a need of those who run programs, and for something that others may link.
set(CPACK_RPM_SPEC_MORE_DEFINE "%global __requires_exclude ^/usr/bin/pkg-config$
%global __provides_exclude_from ^${VEL_INSTALL_DIRECTORY}/")
# The folders of others: a package of ours does not own them.
foreach(folder /opt /usr/lib/systemd /usr/lib/systemd/system /usr/sbin /usr/share/bash-completion
               /usr/share/bash-completion/completions /usr/share/man /usr/share/man/man1 /usr/share/man/man3
               /usr/share/man/man5 /usr/share/man/man7 /usr/share/man/man8 /usr/share/zsh
               /usr/share/zsh/site-functions /usr/lib64/cmake /usr/lib64/pkgconfig)
    list(APPEND CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION ${folder})
endforeach()
set(CPACK_RPM_POST_INSTALL_SCRIPT_FILE ${made}/rpm/post)
set(CPACK_RPM_PRE_UNINSTALL_SCRIPT_FILE ${sources}/rpm/preun)
set(CPACK_RPM_POST_UNINSTALL_SCRIPT_FILE ${sources}/rpm/postun)

set(CPACK_PACKAGE_FILE_NAME velguid-${PROJECT_VERSION}-linux-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
include(CPack)
