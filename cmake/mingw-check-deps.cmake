# Included at the first project() of the MinGW syntax-only check (tests/windows), which compiles against the host's
# Qt and yaml-cpp headers. Three things in their imported targets are the host's own and are adjusted here:
# - shared libraries have no import library, which Windows linking asks for, and their one configuration matches no
#   build type; nothing is linked or installed, so the .so stands in for all of them;
# - Qt's platform folder (mkspecs/linux-g++) becomes Qt's MinGW one (win32-g++);
# - a package whose headers sit directly in /usr/include would put glibc's headers before MinGW's, so that folder is
#   replaced by one that holds only the package's own header folder, or its loose headers listed below.
set(oxmerel_loose_headers_LibArchive archive.h archive_entry.h)

function(oxmerel_host_package method name)
    # Find modules look for Windows library names; the host's shared library stands in (see above).
    set(CMAKE_FIND_LIBRARY_PREFIXES lib)
    set(CMAKE_FIND_LIBRARY_SUFFIXES .so)
    file(GLOB host_library_dirs /usr/lib/*-linux-gnu)
    list(APPEND CMAKE_LIBRARY_PATH ${host_library_dirs})
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
            if("/usr/include" IN_LIST includes)
                set(headers ${oxmerel_loose_headers_${name}})
                if(IS_DIRECTORY /usr/include/${name})
                    set(headers ${name})
                endif()
                file(MAKE_DIRECTORY ${own})
                foreach(header IN LISTS headers)
                    file(CREATE_LINK /usr/include/${header} ${own}/${header} SYMBOLIC)
                endforeach()
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
