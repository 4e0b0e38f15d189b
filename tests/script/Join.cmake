# Writes each client in clients/ to OUTPUT_DIR after the checks they share, lib/Checks.vbs: Wine's
# script host runs no .wsf jobs and its VBScript has no ExecuteGlobal. It runs as a test rather than
# at build time so that the scripts run always match the sources, whatever their timestamps.
file(GLOB clients "${CMAKE_CURRENT_LIST_DIR}/clients/*.vbs")
file(READ "${CMAKE_CURRENT_LIST_DIR}/lib/Checks.vbs" checks)
foreach(client IN LISTS clients)
    get_filename_component(name "${client}" NAME)
    file(READ "${client}" body)
    file(WRITE "${OUTPUT_DIR}/${name}" "${checks}${body}")
endforeach()
