# Included at the first project() of the MinGW syntax-only check (tests/windows), which compiles against the host's
# Qt and yaml-cpp headers. Three things in their imported targets are the host's own and are adjusted here:
# - shared libraries have no import library, which Windows linking asks for, and their one configuration matches no
#   build type; nothing is linked or installed, so the .so stands in for all of them;
# - Qt's platform folder (mkspecs/linux-g++) becomes Qt's MinGW one (win32-g++);
# - a package whose headers sit directly in /usr/include would put glibc's headers before MinGW's, so that folder is
#   replaced by one that holds only the package's own header folder.
function(oxmerel_host_package method name)
    find_package(${name} ${ARGN} BYPASS_PROVIDER)
    get_directory_property(imported IMPORTED_TARGETS)
    foreach(target IN LISTS imported)
        get_target_property(type ${target} TYPE)
        get_target_property(configs ${target} IMPORTED_CONFIGURATIONS)
        if(type STREQUAL "SHARED_LIBRARY" AND configs)
            foreach(config IN LISTS configs)
                get_target_property(location ${target} IMPORTED_LOCATION_${config})
                set_target_properties(${target} PROPERTIES
                    IMPORTED_IMPLIB_${config} "${location}" IMPORTED_IMPLIB "${location}" IMPORTED_LOCATION "${location}")
            endforeach()
        endif()
        get_target_property(includes ${target} INTERFACE_INCLUDE_DIRECTORIES)
        if(includes)
            list(TRANSFORM includes REPLACE "/mkspecs/linux-g\\+\\+$" "/mkspecs/win32-g++")
            set(own ${CMAKE_BINARY_DIR}/host-include/${name})
            if("/usr/include" IN_LIST includes AND IS_DIRECTORY /usr/include/${name})
                file(MAKE_DIRECTORY ${own})
                file(CREATE_LINK /usr/include/${name} ${own}/${name} SYMBOLIC)
                list(TRANSFORM includes REPLACE "^/usr/include$" "${own}")
            endif()
            set_target_properties(${target} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${includes}")
        endif()
    endforeach()
    foreach(var IN ITEMS FOUND VERSION VERSION_MAJOR VERSION_MINOR VERSION_PATCH DIR)
        set(${name}_${var} "${${name}_${var}}" PARENT_SCOPE)
    endforeach()
endfunction()

cmake_language(SET_DEPENDENCY_PROVIDER oxmerel_host_package SUPPORTED_METHODS FIND_PACKAGE)
