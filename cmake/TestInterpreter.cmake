# The interpreter of the test MMSC (tests/support/mmsc_server.py), which the tests and the
# benchmarks start: TAVMMS_PYTHON. A version manager's shim on PATH takes longer to start than the
# interpreter it leads to, so the interpreter itself is asked for once here.
include_guard(GLOBAL)

find_package(Python3 REQUIRED COMPONENTS Interpreter)
execute_process(COMMAND ${Python3_EXECUTABLE} -c "import sys; print(sys.executable)"
                OUTPUT_VARIABLE TAVMMS_PYTHON OUTPUT_STRIP_TRAILING_WHITESPACE
                COMMAND_ERROR_IS_FATAL ANY)
