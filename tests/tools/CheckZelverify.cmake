# Runs zelverify on good, bad and missing files, and on what openssl makes. Arguments: program (with its emulator, a list),
# openssl (or empty), folder to work in (made anew), files (the stored ones), version,
# windows (whether paths may have backslashes).
file(REMOVE_RECURSE "${folder}")
file(MAKE_DIRECTORY "${folder}")
file(COPY "${files}/" DESTINATION "${folder}" PATTERN "*.cmake" EXCLUDE PATTERN "*.txt" EXCLUDE)
unset(ENV{zel_debug})

# expect(CODE OUTPUT [ARGUMENT...]): runs the program; what it prints, on both streams together, must match the expression.
function(expect code output)
  execute_process(COMMAND ${program} ${ARGN} WORKING_DIRECTORY "${folder}"
    OUTPUT_VARIABLE printed ERROR_VARIABLE printed RESULT_VARIABLE result)
  if(NOT result EQUAL code OR NOT printed MATCHES "${output}")
    message(FATAL_ERROR "zelverify ${ARGN}: exits with ${result}, not ${code}, or prints something else:\n${printed}")
  endif()
endfunction()

expect(0 "^usage: .*--version" --help)
expect(0 "^zelverify ${version}\r?\n$" --version)
expect(2 "^usage: ")
expect(2 "^usage: " key.der)
expect(2 "^usage: " key.der good good)
expect(0 "^good: valid\r?\n$" key.der good)
if(windows)
  file(COPY "${folder}/good" "${folder}/good.sig" DESTINATION "${folder}/a folder")
  expect(0 "^a folder.good: valid\r?\n$" ".\\key.der" "a folder\\good")
elseif(EXISTS /proc/self/mem) # which opens
  expect(2 "^zelverify: /proc/self/mem: cannot be read" key.der /proc/self/mem)
endif()
expect(1 "^zelverify: forged: bad signature: the signature is of another file" key.der forged) # the library's check takes it
expect(1 "^zelverify: shifted: bad signature: the signature is of another file" key.der shifted) # one zero octet too many
expect(2 "no-key: cannot be read" no-key good)
expect(2 "good: is no RSA public key in DER" good good)
expect(2 "no-file: cannot be read" key.der no-file)
expect(2 "key.der.sig: cannot be read" key.der key.der)
expect(2 "\\.: cannot be read" key.der .)
file(WRITE "${folder}/empty" "")
expect(2 "empty: is empty" empty good)
string(REPEAT "x" 501 long)
file(WRITE "${folder}/long" "${long}")
expect(2 "long: is larger than a key of 3888 bits" long good)
foreach(size IN ITEMS 0 255 257 500 "more than 500")
  string(REGEX REPLACE "more .*" 501 length "${size}")
  string(SUBSTRING "${long}" 0 ${length} text)
  file(WRITE "${folder}/empty.sig" "${text}")
  expect(1 "bad signature: the signature has ${size} bytes, the key's have 256" key.der empty)
endforeach()
string(ASCII 255 octet)
string(REPEAT "${octet}" 256 above)
file(WRITE "${folder}/empty.sig" "${above}")
expect(1 "bad signature: the signature is above the key's modulus" key.der empty)
set(ENV{zel_debug} 1)
expect(0 "INFO .ZelUtil::checkFileSignature. file signature verification succeeded.*good: valid" key.der good)
unset(ENV{zel_debug})

if(openssl)
  # As README says.
  foreach(command IN ITEMS "genrsa -out key.pem 2048" "rsa -in key.pem -RSAPublicKey_out -outform DER -out public.der"
      "dgst -sha256 -sign key.pem -out zelverify.txt.sig zelverify.txt")
    file(WRITE "${folder}/zelverify.txt" "signed by openssl")
    separate_arguments(arguments UNIX_COMMAND "${command}")
    execute_process(COMMAND "${openssl}" ${arguments} WORKING_DIRECTORY "${folder}" ERROR_QUIET OUTPUT_QUIET
      COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  expect(0 "^zelverify.txt: valid" public.der zelverify.txt)
  expect(1 "bad signature" key.der zelverify.txt)
  file(APPEND "${folder}/zelverify.txt" ".")
  expect(1 "bad signature" public.der zelverify.txt)
endif()
