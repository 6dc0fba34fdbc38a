# SPDX-License-Identifier: Apache-2.0
# Usage: cmake -DCASE=... -DSOURCE_DIR=... -DBUILD_DIR=... -DWORK_DIR=... -DLIBRARY=... -DTOOLKIT=...
#     -DCXX=... -DFLAGS=... -DNM=... -DREADELF=... -P
# Checks what users of the installed library get. CASE: bundled, static, host1 and host2
# (variants of the fake host), hostless, symbols.
cmake_minimum_required(VERSION 3.22)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN} failed (${result}):\n${output}")
    endif()
endfunction()

# Moves the installed tree, so that nothing in it may depend on where it was made.
function(install_and_move build_dir)
    run(${CMAKE_COMMAND} --install ${build_dir} --prefix ${WORK_DIR}/made)
    file(RENAME ${WORK_DIR}/made ${WORK_DIR}/moved)
endfunction()

function(build_consumer)
    run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/consumer -B ${WORK_DIR}/consumer
        -DCMAKE_PREFIX_PATH=${WORK_DIR}/moved ${ARGN}
        -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${FLAGS}")
    run(${CMAKE_COMMAND} --build ${WORK_DIR}/consumer)
endfunction()

# Runs the consumer and compares what it writes; the log must match the pattern.
function(expect_consumer log_pattern)
    execute_process(COMMAND ${WORK_DIR}/consumer/consumer
        RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE log)
    if(NOT result EQUAL 0 OR NOT output STREQUAL "Invalid window size.\n[32 x 24]\n")
        message(SEND_ERROR "The consumer ended with ${result} and wrote:\n${output}")
    endif()
    if(NOT log MATCHES "${log_pattern}")
        message(SEND_ERROR "The log does not match ${log_pattern}:\n${log}")
    endif()
endfunction()

# Quickly: without optimising.
function(build_library)
    run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/library -DBUILD_TESTING=OFF
        -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG= -DCMAKE_CXX_COMPILER=${CXX} ${ARGN})
    run(${CMAKE_COMMAND} --build ${WORK_DIR}/library --parallel 2)
endfunction()

function(test_bundled)
    install_and_move(${BUILD_DIR})
    build_consumer()
    expect_consumer("^[-0-9]+ [0-9:.]+ error vision.stereo setWindowSize: Invalid window size .4.[.]\n$")
    if(EXISTS ${WORK_DIR}/consumer/toolkit_consumer)
        execute_process(COMMAND ${WORK_DIR}/consumer/toolkit_consumer OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
        if(NOT output MATCHES "missing.png")
            message(SEND_ERROR "The consumer of the toolkit wrote:\n${output}")
        endif()
    endif()
endfunction()

function(test_static)
    build_library(-DBUILD_SHARED_LIBS=OFF -DSTEREOVISION_BUILD_APPS=OFF "-DCMAKE_CXX_FLAGS=${FLAGS}")
    run(${CMAKE_COMMAND} --install ${WORK_DIR}/library --prefix ${WORK_DIR}/made)
    file(GLOB_RECURSE shared ${WORK_DIR}/made/*.so)
    run(${CMAKE_COMMAND} --build ${WORK_DIR}/library --target uninstall)
    file(GLOB_RECURSE left LIST_DIRECTORIES ON RELATIVE ${WORK_DIR}/made ${WORK_DIR}/made/*)
    list(FILTER left EXCLUDE REGEX "^(lib|lib/cmake|include|share|share/doc)$")
    if(shared OR left)
        message(SEND_ERROR "Shared in spite of BUILD_SHARED_LIBS=OFF: ${shared}; left by uninstall: ${left}")
    endif()
    set(BUILD_DIR ${WORK_DIR}/library)
    test_bundled()
endfunction()

function(test_host variant)
    set(host -Dtarn_DIR=${CMAKE_CURRENT_LIST_DIR}/fake-tarn)
    build_library(-DSTEREOVISION_TARN_LOG=host ${host} "-DCMAKE_CXX_FLAGS=${FLAGS} -DFAKE_TARN_VARIANT=${variant}")
    install_and_move(${WORK_DIR}/library)

    file(GLOB_RECURSE unwanted RELATIVE ${WORK_DIR}/moved ${WORK_DIR}/moved/*)
    list(FILTER unwanted INCLUDE REGEX "tarn|^bin/")
    if(unwanted)
        message(SEND_ERROR "Installed beside a host's own log service: ${unwanted}")
    endif()
    build_consumer(${host})
    set(records "2 vision.stereo setWindowSize :0 Invalid window size .4.[.]\n.*5 vision.stereo computeDepth :0 Reproject")
    expect_consumer("${records}")
    set(ENV{FAKE_TARN} throw)
    expect_consumer("${records}")
    set(ENV{FAKE_TARN} null)
    expect_consumer("^$")
endfunction()

# Without a package, and with one whose header declares nothing.
function(test_hostless)
    file(WRITE ${WORK_DIR}/empty/tarn/log.h "")
    file(WRITE ${WORK_DIR}/empty/tarnConfig.cmake "add_library(tarn::log INTERFACE IMPORTED)
        target_include_directories(tarn::log INTERFACE ${WORK_DIR}/empty)")
    foreach(folder IN ITEMS ${WORK_DIR} ${WORK_DIR}/empty)
        execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/library
            -DSTEREOVISION_TARN_LOG=host -Dtarn_DIR=${folder} -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${FLAGS}"
            RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE log)
        if(result EQUAL 0 OR NOT log MATCHES "Category. tarn::log::addCategory")
            message(SEND_ERROR "Configuring with the host's log service in ${folder} ended with ${result}:\n${log}")
        endif()
    endforeach()
endfunction()

# Nothing but what the pattern names, in a namespace, and what comes with the headers of others.
function(expect_exported library public)
    execute_process(COMMAND ${NM} -DC --defined-only ${library} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "[^\n]+" symbols "${symbols}")
    list(FILTER symbols EXCLUDE REGEX " [A-Z] ((typeinfo|typeinfo name|vtable) for )?vision::${public}(::|$)")
    # Weak ones come with those headers, but none with what we use inside; the linker makes the named ones, more on arm64.
    set(inside ${symbols})
    list(FILTER inside INCLUDE REGEX "^[^(<]*(fmt|nlohmann|YAML|vision::guard)::")
    list(FILTER symbols EXCLUDE REGEX " [WVuwv] | _+(bss_start|bss_end|edata|end)(__)?$")
    if(symbols OR inside)
        message(SEND_ERROR "Exported by ${library} without being public: ${symbols};${inside}")
    endif()
endfunction()

function(test_symbols)
    expect_exported(${LIBRARY} "(Calibration|Stereo)")
    if(TOOLKIT)
        expect_exported(${TOOLKIT} toolkit)
    endif()
    execute_process(COMMAND ${READELF} -d ${LIBRARY} OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "NEEDED[^\n]+" needed "${dynamic}")
    list(FILTER needed EXCLUDE REGEX
        "\\[lib(opencv_(core|imgproc|calib3d)|tarn_log|z|stdc\\+\\+|m|gcc_s|c|asan|ubsan|tsan)[.]so")
    if(needed)
        message(SEND_ERROR "Needed at run time: ${needed}")
    endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
if(CASE MATCHES "^host(.)$")
    test_host(${CMAKE_MATCH_1})
else()
    cmake_language(CALL test_${CASE})
endif()
file(REMOVE_RECURSE ${WORK_DIR})
