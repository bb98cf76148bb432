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
  set(printed "${printed}" PARENT_SCOPE)
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
  expect(2 "^zelverify: NUL: is no regular file" key.der NUL)
else()
  expect(2 "^zelverify: /proc/self/mem: cannot be read" key.der /proc/self/mem) # which opens
  expect(2 "^zelverify: /dev/zero: is no regular file" /dev/zero good)
  expect(2 "^zelverify: \\.: is no regular file" key.der .)
  execute_process(COMMAND mkfifo "${folder}/pipe" "${folder}/empty.sig" COMMAND_ERROR_IS_FATAL ANY)
  file(WRITE "${folder}/empty" "")
  expect(2 "pipe: is no regular file" key.der pipe) # and no waiting for a writer
  expect(2 "empty.sig: is no regular file" key.der empty)
  file(REMOVE "${folder}/empty.sig")
endif()
expect(1 "^zelverify: forged: bad signature: the signature is of another file" key.der forged) # the library's check takes it
file(COPY_FILE "${folder}/good" "${folder}/short")
expect(1 "^zelverify: short: bad signature: the signature is of another file" key.der short) # 00 00 01 FF ...: likewise
expect(2 "no-key: cannot be read" no-key good)
expect(2 "good: holds no RSA public key" good good)
expect(2 "no-file: cannot be read" key.der no-file)
expect(2 "key.der.sig: cannot be read" key.der key.der)
file(WRITE "${folder}/empty" "")
expect(2 "empty: is empty" empty good)
string(REPEAT "x" 501 long)
file(WRITE "${folder}/long" "${long}")
expect(2 "long: holds no RSA public key; make one with: openssl pkey" long good)
foreach(text IN ITEMS "ssh-rsa AAAA=holds an OpenSSH key" "-----BEGIN =damaged" "-----BEGIN PUBLIC KEY-----=damaged"
    "-----BEGIN PUBLIC KEY-----\n-----END PUBLIC KEY-----=holds no RSA public key")
  string(REGEX MATCH "(.*)=(.*)" all "${text}")
  file(WRITE "${folder}/text" "${CMAKE_MATCH_1}")
  expect(2 "^zelverify: text: .*${CMAKE_MATCH_2}" text good)
endforeach()
string(REPEAT "${long}" 131 text)
file(WRITE "${folder}/text" "${text}")
expect(2 "text: is too large to be a key" text good)
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
expect(0 "INFO .zelverify. key of 2048 bits.*good: valid" key.der good)
unset(ENV{zel_debug})

if(openssl)
  # As README says.
  foreach(command IN ITEMS "genrsa -out key.pem 2048" "pkey -in key.pem -pubout -out public.pem"
      "dgst -sha256 -sign key.pem -out zelverify.txt.sig zelverify.txt"
      "rsa -in key.pem -RSAPublicKey_out -outform DER -out pkcs1.der" "rsa -in key.pem -RSAPublicKey_out -out pkcs1.pem"
      "pkey -in key.pem -pubout -outform DER -out public.der" "pkey -in key.pem -outform DER -out key.private"
      "rsa -in key.pem -traditional -out old.pem" "req -new -x509 -key key.pem -subj /CN=me -out own.crt"
      "genrsa -out large.pem 4096" "pkey -in large.pem -pubout -out large.pub"
      "genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out ec.pem" "pkey -in ec.pem -pubout -out ec.pub")
    file(WRITE "${folder}/zelverify.txt" "signed by openssl")
    separate_arguments(arguments UNIX_COMMAND "${command}")
    execute_process(COMMAND "${openssl}" ${arguments} WORKING_DIRECTORY "${folder}" ERROR_QUIET OUTPUT_QUIET
      COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  file(READ "${folder}/public.pem" pem)
  string(REPLACE "\n" "\r\n" text "The key of\n${pem}")
  file(WRITE "${folder}/crlf.pem" "${text}")
  foreach(key IN ITEMS public.pem public.der pkcs1.pem pkcs1.der crlf.pem)
    expect(0 "^zelverify.txt: valid" ${key} zelverify.txt)
  endforeach()
  foreach(key IN ITEMS key.pem key.private old.pem own.crt) # the command that is named makes the key that is wanted
    file(REMOVE "${folder}/public.pem")
    expect(2 "^zelverify: ${key}: holds a [a-z ]+; make a public key with: openssl" ${key} zelverify.txt)
    string(REGEX MATCH "openssl ([^\r\n]*)" all "${printed}")
    separate_arguments(arguments UNIX_COMMAND "${CMAKE_MATCH_1}")
    execute_process(COMMAND "${openssl}" ${arguments} WORKING_DIRECTORY "${folder}" COMMAND_ERROR_IS_FATAL ANY)
    expect(0 "^zelverify.txt: valid" public.pem zelverify.txt)
  endforeach()
  file(WRITE "${folder}/large.txt" "signed by openssl")
  execute_process(COMMAND "${openssl}" dgst -sha256 -sign large.pem -out large.txt.sig large.txt
    WORKING_DIRECTORY "${folder}" COMMAND_ERROR_IS_FATAL ANY)
  expect(0 "^large.txt: valid" large.pub large.txt)
  expect(2 "ec.pub: holds no RSA public key" ec.pub zelverify.txt)
  foreach(damage IN ITEMS "\nMII=\n#II" "\nMII=\nMI" "\n-----END=\nA===\n-----END" "AB\n-=B=\n-" "-----END P=-----END Q")
    string(REGEX MATCH "^([^=]*)=(.*)$" all "${damage}")
    string(REPLACE "${CMAKE_MATCH_1}" "${CMAKE_MATCH_2}" text "${pem}")
    file(WRITE "${folder}/damaged.pem" "${text}")
    expect(2 "damaged.pem: is damaged PEM" damaged.pem zelverify.txt)
  endforeach()
  expect(1 "bad signature" key.der zelverify.txt)
  file(APPEND "${folder}/zelverify.txt" ".")
  expect(1 "bad signature" public.der zelverify.txt)
endif()
