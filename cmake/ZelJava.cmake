# What the Java side is built with: the JDK's tools, zel_javac, and JUnit 5 as Debian lays it out.

find_program(ZEL_JAVA java HINTS "${ZEL_JAVA_HOME}/bin" REQUIRED)
find_program(ZEL_JAR jar HINTS "${ZEL_JAVA_HOME}/bin" REQUIRED)
set(ZEL_PROVIDER_JAR "${CMAKE_BINARY_DIR}/zel-provider.jar")
set(ZEL_SAMPLE_JAR "${CMAKE_BINARY_DIR}/zel-sample.jar")
set(ZEL_TOOL_JAR "${CMAKE_BINARY_DIR}/zel-tool.jar")
set(ZEL_PICOCLI_JAR /usr/share/java/picocli.jar)

# zel_javac(STAMP CLASSES FOLDER CLASSPATH [SOURCE...]): compiles the sources below FOLDER, and the further ones, into the
# folder CLASSES, which is made anew; STAMP is the file to depend on. The jars on the class path are built first.
function(zel_javac stamp classes folder classpath)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${folder}/*.java")
  list(APPEND sources ${ARGN})
  list(JOIN classpath ":" joined)
  add_custom_command(
    OUTPUT "${stamp}"
    COMMAND "${CMAKE_COMMAND}" -E rm -rf "${classes}"
    COMMAND "${ZEL_JAVAC}" --release 11 -encoding UTF-8 -Xlint:all,-path -Werror -cp "${joined}:" -d "${classes}" ${sources}
    COMMAND "${CMAKE_COMMAND}" -E touch "${stamp}"
    DEPENDS ${sources} ${classpath}
    VERBATIM)
endfunction()

set(ZEL_JUNIT_JARS)
foreach(name IN ITEMS junit-platform-console junit-platform-launcher junit-platform-engine junit-platform-commons
    junit-platform-reporting opentest4j-reporting-events junit-jupiter-api junit-jupiter-engine junit-jupiter-params
    opentest4j apiguardian-api univocity-parsers picocli)
  list(APPEND ZEL_JUNIT_JARS "/usr/share/java/${name}.jar")
endforeach()
