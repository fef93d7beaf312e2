# Runs the XML examples the way a user would: reformat INPUT, then compare what the outline counts in both files.
# Arguments: OUTLINE, REFORMAT (programs), INPUT (an XML file), WORK (a folder to write to).

function(run expected_status output)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE text ERROR_VARIABLE problem)
    if(NOT status STREQUAL expected_status)
        message(FATAL_ERROR "${ARGN}\nended with ${status} and not ${expected_status}\n${text}${problem}")
    endif()
    if(NOT status EQUAL 0 AND problem STREQUAL "")
        message(FATAL_ERROR "${ARGN}\nfailed without a message")
    endif()
    set(${output} "${text}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")

# The counts are all of the totals but the time.
function(count xml output)
    run(0 totals "${OUTLINE}" --quiet "${xml}")
    string(REGEX MATCHALL "[a-z ]+ [0-9]+\n" counts "${totals}")
    if(counts STREQUAL "")
        message(FATAL_ERROR "The outline of ${xml} has no totals:\n${totals}")
    endif()
    set(${output} "${counts}" PARENT_SCOPE)
endfunction()

count("${INPUT}" before)
run(0 ignored "${REFORMAT}" "${INPUT}" "${WORK}/out.xml")
count("${WORK}/out.xml" after)
if(NOT before STREQUAL after)
    message(FATAL_ERROR "The totals differ. Before:\n${before}\nAfter:\n${after}")
endif()

# Once reformatted, a file stays as it is.
run(0 ignored "${REFORMAT}" "${WORK}/out.xml" "${WORK}/again.xml")
run(0 ignored "${CMAKE_COMMAND}" -E compare_files "${WORK}/out.xml" "${WORK}/again.xml")

run(1 ignored "${OUTLINE}" "${WORK}/absent.xml")
run(1 ignored "${REFORMAT}" "${WORK}/absent.xml" "${WORK}/never.xml")

file(REMOVE_RECURSE "${WORK}")
