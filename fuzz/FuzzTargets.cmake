# The fuzz targets, shared by the libFuzzer build (fuzz/CMakeLists.txt) and the replay
# executables that the test suite runs (tests/CMakeLists.txt).
set(QELMODEL_FUZZ_TARGETS fuzz_mtlreader fuzz_triangulate fuzz_builder fuzz_texture fuzz_objimport fuzz_objscan)
set(QELMODEL_FUZZ_DIR ${CMAKE_CURRENT_LIST_DIR})

# qel_add_fuzz_executable(EXECUTABLE TARGET source...): TARGET's entry points with the helpers
# and the given extra sources (libFuzzer's main is linked in by flags, the replay main is a source).
function(qel_add_fuzz_executable executable target)
    add_executable(${executable} ${QELMODEL_FUZZ_DIR}/${target}.cpp ${QELMODEL_FUZZ_DIR}/FuzzSupport.cpp ${ARGN})
    target_include_directories(${executable} PRIVATE ${QELMODEL_FUZZ_DIR})
    target_link_libraries(${executable} PRIVATE QelModelStatic Qt6::Gui Qt6::OpenGL)
    if(target STREQUAL "fuzz_triangulate")
        # The frozen reference implementation, compared with the library's on every input.
        target_sources(${executable} PRIVATE ${PROJECT_SOURCE_DIR}/tests/triangulation/PlainEarClipping.cpp)
        target_include_directories(${executable} PRIVATE ${PROJECT_SOURCE_DIR}/tests/triangulation)
    elseif(target STREQUAL "fuzz_objscan")
        # The plain reading the scanner must reproduce, compared on every input.
        target_sources(${executable} PRIVATE ${PROJECT_SOURCE_DIR}/tests/import/ReferenceObjReader.cpp
            ${PROJECT_SOURCE_DIR}/tests/import/ObjScanDifference.cpp)
        target_include_directories(${executable} PRIVATE ${PROJECT_SOURCE_DIR}/tests/import)
    endif()
endfunction()
