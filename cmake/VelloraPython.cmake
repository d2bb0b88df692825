# Whether the package for Python can be made: there is a Python that is new enough, with the tool that packs wheels. Sanitizers
# want their runtime in the program that is started, which would be Python itself.
find_package(Python3 3.11 QUIET COMPONENTS Interpreter)
# Debian's tool belongs to Debian's Python, which need not be the first in the path.
find_program(VELLORA_WHEEL_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH)
mark_as_advanced(VELLORA_WHEEL_PYTHON)
set(VELLORA_CAN_BUILD_PYTHON OFF)
if(PROJECT_IS_TOP_LEVEL AND Python3_FOUND AND VELLORA_WHEEL_PYTHON AND NOT VELLORA_SANITIZE AND NOT VELLORA_COVERAGE AND NOT VELLORA_FUZZ)
  execute_process(COMMAND "${VELLORA_WHEEL_PYTHON}" -c "import wheel" RESULT_VARIABLE has_no_wheel ERROR_QUIET)
  if(has_no_wheel EQUAL 0)
    set(VELLORA_CAN_BUILD_PYTHON ON)
  endif()
endif()
option(VELLORA_BUILD_PYTHON "Make the package for Python, on the library for C (needs python3-wheel)" ${VELLORA_CAN_BUILD_PYTHON})
