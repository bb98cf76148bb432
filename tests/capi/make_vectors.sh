#!/usr/bin/env bash
# make_vectors.sh: writes the keys of this folder and capi_vectors.txt anew, by OpenSSL.
set -euo pipefail
CDPATH= cd -- "$(dirname -- "${BASH_SOURCE[0]}")"
hex() { od -An -v -tx1 | tr -d ' \n'; }

openssl genrsa -out rsa.pkcs8 2048 # with the smallest private exponent, as the library writes it
openssl rsa -in rsa.pkcs8 -traditional -out rsa.pkcs1
openssl pkey -in rsa.pkcs8 -pubout -out rsa.x509
openssl rsa -in rsa.pkcs8 -RSAPublicKey_out -out rsa.public
openssl dsaparam -genkey 1024 | openssl pkey -out dsa.pkcs8
openssl pkey -in dsa.pkcs8 -pubout -out dsa.x509

message="Received with thanks, in two parts: one of them is longer than a block of any of the hashes is, and a bit more, so that "
message+="also the longest of them, which is of 128 bytes, is crossed."
{
  echo "# Written by make_vectors.sh. digest HASH MESSAGE = DIGEST"
  for bits in 1 224 256 384 512; do
    for text in "" abc "$message"; do
      echo "digest sha$bits \"$text\" = $(printf %s "$text" | openssl dgst -sha$bits -binary | hex)"
    done
  done
  echo "# padded KEY IV PLAINTEXT = CIPHERTEXT, in CBC with the padding of PKCS#5"
  for bits in 128 192 256; do
    key=$(printf '%02x' $(seq 3 $((bits / 8 + 2)))) iv=000102030405060708090a0b0c0d0e0f
    for count in 0 1 15 16 31 32 200; do
      text=$(printf %s "$message" | head -c $count | hex)
      echo "padded $key $iv ${text:-.} = $(printf %s "$message" | head -c $count | openssl enc -aes-$bits-cbc -K $key -iv $iv | hex)"
    done
  done
  echo "# rsa HASH MESSAGE = SIGNATURE; dsa HASH MESSAGE = SIGNATURE"
  for key in rsa dsa; do
    for bits in 1 224 256 384 512; do
      echo "$key sha$bits \"$message\" = $(printf %s "$message" | openssl dgst -sha$bits -sign $key.pkcs8 | hex)"
    done
  done
} >capi_vectors.txt
