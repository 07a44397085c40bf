# 32-bit ARM with hardware floating point, from Debian's cross compiler. Thumb-2 throughout.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# Tests and the demo need libraries for this processor; `scripts/arm_root` fetches them there. The
# library itself needs nothing but the compiler.
get_filename_component(arm_root ${CMAKE_CURRENT_LIST_DIR}/../build/arm-root ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH ${arm_root} /usr/arm-linux-gnueabihf)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_C_FLAGS_INIT "-march=armv7-a+fp -mfloat-abi=hard -mthumb")
# C++ libraries speak of a change of calling convention in a compiler that is long gone (-Wno-psabi);
# one C library keeps a header in the folder that the compiler knows on an installed system.
set(CMAKE_CXX_FLAGS_INIT
    "${CMAKE_C_FLAGS_INIT} -Wno-psabi -idirafter ${arm_root}/usr/include/arm-linux-gnueabihf")

# What is built for the camera runs here under user-mode emulation.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -cpu cortex-a7 -L /usr/arm-linux-gnueabihf)
