# Runs the job.cfg of SOURCE in WORK with the program ZELPGEN: it must exit 0 and write a
# non-empty job.dat that `zelpgen inspect` reads to the end without a fault.
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
file(GLOB inputs ${SOURCE}/*.cfg ${SOURCE}/*.inf ${SOURCE}/*.tif ${SOURCE}/*.bmp ${SOURCE}/*.bin)
file(COPY ${inputs} DESTINATION ${WORK})

execute_process(COMMAND ${ZELPGEN} job.cfg WORKING_DIRECTORY ${WORK} RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "zelpgen job.cfg exited with ${status}")
endif()
if(NOT EXISTS ${WORK}/job.dat)
  message(FATAL_ERROR "no job.dat written")
endif()
file(SIZE ${WORK}/job.dat size)
if(size EQUAL 0)
  message(FATAL_ERROR "job.dat is empty")
endif()

execute_process(COMMAND ${ZELPGEN} inspect job.dat WORKING_DIRECTORY ${WORK}
                RESULT_VARIABLE status OUTPUT_VARIABLE listing ERROR_VARIABLE errors)
if(NOT status EQUAL 0 OR NOT listing MATCHES "\nok\n$")
  message(FATAL_ERROR "zelpgen inspect job.dat exited with ${status}:\n${listing}${errors}")
endif()
