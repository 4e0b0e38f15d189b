# qnps_add_version_resource(TARGET DESCRIPTION ORIGINAL_FILENAME)
# Gives a DLL or executable a VERSIONINFO resource carrying the project's version, so installers and
# Explorer's file properties tell releases apart.
# QNPS_VERSION_TEXT, the four-part version, serves the manifests and the installer as well.
set(QNPS_VERSION_RC_TEMPLATE "${CMAKE_CURRENT_LIST_DIR}/VersionInfo.rc.in")
foreach(part MAJOR MINOR PATCH TWEAK)
    set(QNPS_VERSION_${part} "${CMAKE_PROJECT_VERSION_${part}}")
    if(QNPS_VERSION_${part} STREQUAL "")
        set(QNPS_VERSION_${part} 0)
    endif()
endforeach()
set(QNPS_VERSION_TEXT
    "${QNPS_VERSION_MAJOR}.${QNPS_VERSION_MINOR}.${QNPS_VERSION_PATCH}.${QNPS_VERSION_TWEAK}")

function(qnps_add_version_resource target description original_filename)
    set(QNPS_VERSION_DESCRIPTION "${description}")
    set(QNPS_VERSION_ORIGINAL_FILENAME "${original_filename}")
    get_filename_component(QNPS_VERSION_INTERNAL_NAME "${original_filename}" NAME_WE)
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "EXECUTABLE")
        set(QNPS_VERSION_FILETYPE 0x1)  # VFT_APP
    else()
        set(QNPS_VERSION_FILETYPE 0x2)  # VFT_DLL
    endif()
    set(rc "${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc")
    set(object "${CMAKE_CURRENT_BINARY_DIR}/${target}_version.o")
    configure_file("${QNPS_VERSION_RC_TEMPLATE}" "${rc}" @ONLY)
    add_custom_command(
        OUTPUT "${object}"
        COMMAND "${WINDRES}" -O coff -i "${rc}" -o "${object}"
        DEPENDS "${rc}"
        COMMENT "windres: version resource of ${target}")
    target_sources(${target} PRIVATE "${object}")
endfunction()
