# clang 14 as Debian 12 has it. It reads the lock annotations of src/base/thread_annotations.h, which g++ skips.
find_program(VEXO_CLANG NAMES clang++-14 clang++ REQUIRED)
set(CMAKE_CXX_COMPILER ${VEXO_CLANG})
