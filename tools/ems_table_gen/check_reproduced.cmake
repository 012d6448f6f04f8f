# Runs the generator into OUTPUT and requires it to equal COMMITTED byte for byte.
#   cmake [-DEMULATOR=...] -DGENERATOR=... -DOUTPUT=... -DCOMMITTED=... -P check_reproduced.cmake
# EMULATOR runs the generator of a cross-build (qemu-user and its options).
separate_arguments(EMULATOR)
execute_process(COMMAND ${EMULATOR} ${GENERATOR} ${OUTPUT} RESULT_VARIABLE generated)
if(NOT generated EQUAL 0)
    message(FATAL_ERROR "ems_table_gen failed (${generated})")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${OUTPUT} ${COMMITTED} RESULT_VARIABLE differs)
if(NOT differs EQUAL 0)
    execute_process(COMMAND diff -u ${COMMITTED} ${OUTPUT})
    message(FATAL_ERROR "${COMMITTED} differs from the generator's output ${OUTPUT}; "
                        "rebuild the target ems_tables_regenerate and commit the result")
endif()
message(STATUS "${COMMITTED} is reproduced by the generator")
