// Files of lines, and those of vectors, one format for all: "operation operand... = result...", blank lines, and comments from
// '#' on at the begin of a line. A word that holds spaces stands in double quotes.
#ifndef ZELSPI_TESTS_SUPPORT_VECTORS_H
#define ZELSPI_TESTS_SUPPORT_VECTORS_H

#include "core/status/status.h"

#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

using Words = std::vector<std::string>;
using Bytes = std::vector<std::uint8_t>;

// linesOf: the lines of a file below tests/ that say something, each behind its place, "file:number: ". Throws where there is
// none.
std::vector<std::pair<std::string, std::string>> linesOf(const std::string& file);

// wordsOf: the words between spaces. A quoted text, which keeps its quotes, may contain spaces.
Words wordsOf(const std::string& line);

// VectorOperation: one complete use of what is tested: takes the operands, adds the results, gives back all that it took. The
// name of a status other than OK stands in front of the results.
using VectorOperation = std::function<Status(const Words& operands, Words& results)>;

// runVectors: every line of the file below tests/, and each again with every allocation refused in turn. Every operation
// must be used; the lines of an empty one are left to a test of their own.
void runVectors(const std::string& file, const std::map<std::string, VectorOperation>& operations);

// vectorsOf: the operands and results of every line with this operation, for tests of their own.
std::vector<Words> vectorsOf(const std::string& file, const std::string& operation);

// bytesOf: bytes by their notation: pieces joined by '+', each hexadecimal digits, "text", STEP:START:COUNT for byte i =
// STEP * i + START, or a name that begins with '@' or '~', whose bytes the caller has; each with "*COUNT" behind it to be
// repeated, and then "[FROM:TO]" for a part. "." is no bytes. data() is never null.
using NamedBytes = std::function<Bytes(const std::string& name)>;
Bytes bytesOf(std::string_view notation, const NamedBytes& named = {});

// toHex: hexadecimal digits. textOf: the same, "." for none.
std::string toHex(std::span<const std::uint8_t> bytes);
std::string textOf(const Bytes& bytes);

std::uint32_t numberOf(const std::string& word); // decimal, or hexadecimal behind 0x; as 32 bits also when negative

#endif
