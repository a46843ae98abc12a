# Sets QELMODEL_GIT_HASH to the 40-digit revision id of the source tree, or to a fixed
# placeholder when the tree is not a git checkout (or git is not installed).
set(QELMODEL_GIT_HASH "0000000000000000000000000000000000000000")
find_package(Git QUIET)
if(GIT_FOUND)
    execute_process(COMMAND ${GIT_EXECUTABLE} rev-parse HEAD
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
        OUTPUT_VARIABLE _revision OUTPUT_STRIP_TRAILING_WHITESPACE
        RESULT_VARIABLE _result ERROR_QUIET)
    if(_result EQUAL 0 AND _revision MATCHES "^[0-9a-f]+$")
        string(LENGTH "${_revision}" _length)
        if(_length EQUAL 40)
            set(QELMODEL_GIT_HASH "${_revision}")
        endif()
    endif()
endif()
