# What the Java side is built with: the JDK's tools, zel_javac, and JUnit 5 as Debian lays it out.

find_program(ZEL_JAVA java HINTS "${ZEL_JAVA_HOME}/bin" REQUIRED)
find_program(ZEL_JAR jar HINTS "${ZEL_JAVA_HOME}/bin" REQUIRED)
find_program(ZEL_JAVADOC javadoc HINTS "${ZEL_JAVA_HOME}/bin" REQUIRED)
set(ZEL_PROVIDER_JAR "${CMAKE_BINARY_DIR}/zel-provider.jar")
set(ZEL_TOOL_JAR "${CMAKE_BINARY_DIR}/zel-tool.jar")
set(ZEL_PICOCLI_JAR /usr/share/java/picocli.jar)

# zel_javac(STAMP CLASSES FOLDER CLASSPATH [SOURCE...]): compiles the sources below FOLDER, and the further ones, into the
# folder CLASSES, which is made anew; STAMP is the file to depend on. The jars on the class path are built first.
function(zel_javac stamp classes folder classpath)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${folder}/*.java")
  list(APPEND sources ${ARGN})
  list(JOIN classpath ":" joined)
  set(module_version)
  if(EXISTS "${folder}/module-info.java")
    set(module_version --module-version "${PROJECT_VERSION}")
  endif()
  add_custom_command(
    OUTPUT "${stamp}"
    COMMAND "${CMAKE_COMMAND}" -E rm -rf "${classes}"
    COMMAND "${ZEL_JAVAC}" --release 11 -encoding UTF-8 -Xlint:all,-path -Werror ${module_version} -cp "${joined}:" -d "${classes}" ${sources}
    COMMAND "${CMAKE_COMMAND}" -E touch "${stamp}"
    DEPENDS ${sources} ${classpath}
    VERBATIM)
endfunction()

# The date of all entries of our jars: that of the commit, so that the same commit makes the same bytes; the day that the
# format begins with where there is no commit.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(epoch "$ENV{SOURCE_DATE_EPOCH}")
else()
  execute_process(COMMAND git -C "${CMAKE_CURRENT_SOURCE_DIR}" log -1 --format=%ct
    OUTPUT_VARIABLE epoch OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT epoch MATCHES "^[0-9]+$")
  set(epoch 315532800)
endif()
set(ENV{SOURCE_DATE_EPOCH} "${epoch}")
string(TIMESTAMP ZEL_JAR_DATE "%Y-%m-%dT%H:%M:%SZ" UTC)

# zel_jar(JAR MANIFEST DEPENDENCIES [FOLDER...]): packs all files below the folders; DEPENDENCIES is a list.
function(zel_jar jar manifest dependencies)
  add_custom_command(
    OUTPUT "${jar}"
    COMMAND "${CMAKE_COMMAND}" -D "jar=${ZEL_JAR}" -D "out=${jar}" -D "manifest=${manifest}" -D "date=${ZEL_JAR_DATE}"
      -D "folders=${ARGN}" -P "${PROJECT_SOURCE_DIR}/cmake/MakeJar.cmake"
    DEPENDS ${dependencies} "${manifest}" "${PROJECT_SOURCE_DIR}/cmake/MakeJar.cmake"
    VERBATIM)
endfunction()

set(ZEL_JUNIT_JARS)
foreach(name IN ITEMS junit-platform-console junit-platform-launcher junit-platform-engine junit-platform-commons
    junit-platform-reporting opentest4j-reporting-events junit-jupiter-api junit-jupiter-engine junit-jupiter-params
    opentest4j apiguardian-api univocity-parsers picocli)
  list(APPEND ZEL_JUNIT_JARS "/usr/share/java/${name}.jar")
endforeach()
