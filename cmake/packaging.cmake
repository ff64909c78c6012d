# Packages of the installed program: `cpack -G DEB` here, an NSIS installer on Windows. Only the program and its
# desktop files are installed; the simulator, tests and benchmarks never are.
set(CPACK_PACKAGE_NAME oxmerel-connect)
set(CPACK_PACKAGE_VENDOR Oxmerel)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Oxmerel Connect: the tray companion that runs this machine's robots")
set(CPACK_PACKAGE_INSTALL_DIRECTORY "Oxmerel Connect")
set(CPACK_PACKAGE_EXECUTABLES oxmerel-tray "Oxmerel Connect")
set(CPACK_STRIP_FILES TRUE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Oxmerel Connect developers")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
# Debian 12's names; qt6-qpa-plugins holds the X11 platform plugin, without which no window opens.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "libqt6core6 (>= 6.4), libqt6gui6 (>= 6.4), libqt6widgets6 (>= 6.4), qt6-qpa-plugins, libyaml-cpp0.7, libc6, libstdc++6")

set(CPACK_NSIS_DISPLAY_NAME "Oxmerel Connect")
set(CPACK_NSIS_PACKAGE_NAME "Oxmerel Connect")
set(CPACK_NSIS_INSTALLED_ICON_NAME bin/oxmerel-tray.exe)
set(CPACK_NSIS_ENABLE_UNINSTALL_BEFORE_INSTALL ON)

if(WIN32)
    set(CPACK_GENERATOR NSIS)
    # Qt's own deployment tool puts the Qt libraries and plugins beside the program; yaml-cpp when it is a DLL.
    find_program(OXMEREL_WINDEPLOYQT windeployqt HINTS "${QT6_INSTALL_PREFIX}/${QT6_INSTALL_BINS}")
    if(OXMEREL_WINDEPLOYQT)
        install(CODE "execute_process(COMMAND \"${OXMEREL_WINDEPLOYQT}\" --no-translations
            \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/oxmerel-tray.exe\" COMMAND_ERROR_IS_FATAL ANY)")
    endif()
    get_target_property(yaml_type yaml-cpp TYPE)
    if(yaml_type STREQUAL "SHARED_LIBRARY")
        install(IMPORTED_RUNTIME_ARTIFACTS yaml-cpp RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    endif()
elseif(NOT APPLE)
    set(CPACK_GENERATOR DEB)
endif()

include(CPack)
