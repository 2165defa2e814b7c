# Runs om1trace on the bundled example as a user would (under Wine for the
# Windows build): the SVG written with -o is whole, the same picture through
# standard input and output gives the same bytes (no line-end translation),
# and under Wine an output path with a drive letter and backslashes works.
#   cmake -DTOOL=... -DEMULATOR=... -DINPUT=... -DWORK=... -P TraceExample.cmake
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})

function(check_svg path)
    if(NOT EXISTS ${path})
        message(FATAL_ERROR "${path} was not written")
    endif()
    file(SIZE ${path} size)
    file(READ ${path} head LIMIT 16)
    if(size EQUAL 0 OR NOT head MATCHES "^(<\\?xml|<svg)")
        message(FATAL_ERROR "${path} is not an SVG (${size} bytes, starting '${head}')")
    endif()
endfunction()

execute_process(COMMAND ${EMULATOR} ${TOOL} ${INPUT} -o ${WORK}/shapes.svg
                RESULT_VARIABLE rc ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "om1trace exited with ${rc}: ${err}")
endif()
check_svg(${WORK}/shapes.svg)

execute_process(COMMAND ${EMULATOR} ${TOOL} -
                INPUT_FILE ${INPUT} OUTPUT_FILE ${WORK}/piped.svg RESULT_VARIABLE rc ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "om1trace - exited with ${rc}: ${err}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${WORK}/shapes.svg ${WORK}/piped.svg
                RESULT_VARIABLE same)
if(NOT same EQUAL 0)
    message(FATAL_ERROR "standard output differs from the file written with -o")
endif()

if(EMULATOR)
    # Wine shows the root folder as drive Z:.
    string(REPLACE "/" "\\" native "Z:${WORK}")
    execute_process(COMMAND ${EMULATOR} ${TOOL} ${INPUT} -d ${native}\\out
                    RESULT_VARIABLE rc ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "om1trace -d ${native}\\out exited with ${rc}: ${err}")
    endif()
    check_svg(${WORK}/out/shapes.svg)
    execute_process(COMMAND ${EMULATOR} ${TOOL} ${INPUT} -o ${native}\\drive.svg
                    RESULT_VARIABLE rc ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "om1trace -o ${native}\\drive.svg exited with ${rc}: ${err}")
    endif()
    check_svg(${WORK}/drive.svg)
endif()
