# zel_jni: where jni.h stands. It comes from the JDK; its machine-dependent half comes from the JDK too when we build for
# the system that the JDK is for, and from platform/win32/jni when we build for Windows.

find_program(ZEL_JAVAC javac HINTS "$ENV{JAVA_HOME}/bin" REQUIRED)
file(REAL_PATH "${ZEL_JAVAC}" javac_path)
cmake_path(GET javac_path PARENT_PATH java_bin)
cmake_path(GET java_bin PARENT_PATH ZEL_JAVA_HOME)

add_library(zel_jni INTERFACE)
target_include_directories(zel_jni SYSTEM INTERFACE "${ZEL_JAVA_HOME}/include")
if(WIN32)
  target_include_directories(zel_jni SYSTEM INTERFACE "${CMAKE_CURRENT_SOURCE_DIR}/platform/win32/jni")
else()
  target_include_directories(zel_jni SYSTEM INTERFACE "${ZEL_JAVA_HOME}/include/linux")
endif()
