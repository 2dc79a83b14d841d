# 32-bit x86 on an amd64 machine with the multilib compilers.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_CXX_FLAGS_INIT "-m32")
set(CMAKE_C_FLAGS_INIT "-m32")
# Programs built here run here, so try_run and test discovery work.
set(CMAKE_CROSSCOMPILING_EMULATOR "")
