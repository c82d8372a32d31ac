# Installs the build tree into a scratch prefix and imports the installed `orvik` module from
# there (its run path must find the installed libraries; XML reading needs the wide expat).
file(REMOVE_RECURSE ${WORK})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(rc)
  message(FATAL_ERROR "install failed")
endif()
set(check [=[
import sys, orvik
assert orvik.__file__.startswith(sys.argv[1]), orvik.__file__
rec = orvik.loads(orvik.dumps({"a": [1, "x"]}, format="xml"))
assert rec.to_dict() == {"a": [1, "x"]}, rec.to_dict()
]=])
execute_process(COMMAND ${CMAKE_COMMAND} -E env PYTHONPATH=${WORK}/${MODULE_DIR} --unset=LD_LIBRARY_PATH
                        ${PYTHON} -c "${check}" ${WORK}
                WORKING_DIRECTORY ${WORK} RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "the installed module does not work")
endif()
