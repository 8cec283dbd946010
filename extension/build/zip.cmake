# Makes the add-on's zip for one browser from the source tree, with the manifest cut to what
# that browser reads: Chromium runs the background as a service worker and keeps the pinned
# key; Firefox runs it as a module script and takes its id from browser_specific_settings.
#   cmake -DSOURCE=extension -DBROWSER=chromium|firefox -DSTAGE=dir -DOUTPUT=file.zip -P zip.cmake
file(READ "${SOURCE}/manifest.json" manifest)
if(BROWSER STREQUAL "chromium")
    string(JSON manifest REMOVE "${manifest}" browser_specific_settings)
    string(JSON manifest REMOVE "${manifest}" background scripts)
elseif(BROWSER STREQUAL "firefox")
    string(JSON manifest REMOVE "${manifest}" key)
    string(JSON manifest REMOVE "${manifest}" background service_worker)
else()
    message(FATAL_ERROR "BROWSER must be chromium or firefox")
endif()
file(REMOVE_RECURSE "${STAGE}")
file(MAKE_DIRECTORY "${STAGE}")
file(GLOB files RELATIVE "${SOURCE}" "${SOURCE}/*.html" "${SOURCE}/*.js" "${SOURCE}/*.css"
     "${SOURCE}/lib/*.js")
foreach(path IN LISTS files)
    get_filename_component(folder "${STAGE}/${path}" DIRECTORY)
    file(COPY "${SOURCE}/${path}" DESTINATION "${folder}")
endforeach()
file(WRITE "${STAGE}/manifest.json" "${manifest}\n")
file(GLOB_RECURSE staged RELATIVE "${STAGE}" "${STAGE}/*")
list(SORT staged)
file(REMOVE "${OUTPUT}")
# Fixed times so that the same sources give the same zip.
execute_process(COMMAND "${CMAKE_COMMAND}" -E tar cf "${OUTPUT}" --format=zip
                        "--mtime=2000-01-01 00:00:00 UTC" -- ${staged}
                WORKING_DIRECTORY "${STAGE}" RESULT_VARIABLE failed)
if(failed)
    message(FATAL_ERROR "the zip for ${BROWSER} could not be made")
endif()
