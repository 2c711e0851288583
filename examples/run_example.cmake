# Runs the job.cfg of SOURCE in WORK with the program ZELPGEN: it must exit 0 and write a
# non-empty job.dat.
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
