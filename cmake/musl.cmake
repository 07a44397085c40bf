# x86-64 on a second C library, by Debian's musl-tools: what builds and runs on both is tied to
# neither. There is no C++ library on top of it, and the camera's library needs none.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER musl-gcc)
set(CMAKE_CXX_COMPILER g++)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

# The kernel's headers belong to no C library, but lie among the headers of the other one.
set(kernel_headers ${CMAKE_CURRENT_LIST_DIR}/../build/kernel-headers)
file(MAKE_DIRECTORY ${kernel_headers})
file(CREATE_LINK /usr/include/linux ${kernel_headers}/linux SYMBOLIC)
file(CREATE_LINK /usr/include/asm-generic ${kernel_headers}/asm-generic SYMBOLIC)
file(CREATE_LINK /usr/include/x86_64-linux-gnu/asm ${kernel_headers}/asm SYMBOLIC)
set(CMAKE_C_FLAGS_INIT "-idirafter ${kernel_headers}")
set(CMAKE_CXX_FLAGS_INIT
    "-specs=/usr/lib/x86_64-linux-musl/musl-gcc.specs ${CMAKE_C_FLAGS_INIT}")
