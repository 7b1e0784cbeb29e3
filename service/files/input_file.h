// Files that somebody names for a command to read.
#ifndef ZVG_SERVICE_FILES_INPUT_FILE_H
#define ZVG_SERVICE_FILES_INPUT_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zvg {

// What stands for standard input, or output, where a file is named.
inline constexpr char standard_stream[] = "-";

// How messages call a file that is read: its path, or "standard input".
std::string input_name(const std::string& path);

// All of a file, pipe or standard input ("-"), which is read once and to its end. Throws an Error
// when it cannot be read, and for folders, devices and what has more bytes than its use takes:
// those before they are read, a pipe once it has sent too much.
//
// most: the bytes that it may have. use: what it is, with an article: "a register script".
std::vector<uint8_t> read_input(const std::string& path, size_t most, const char* use);

// The same judgement of a file that another program will read: it is not opened. What is not there
// is that program's to tell.
void expect_input(const std::string& path, size_t most, const char* use);

// The same as text: no zero bytes.
std::string read_input_text(const std::string& path, size_t most, const char* use);

}  // namespace zvg

#endif  // ZVG_SERVICE_FILES_INPUT_FILE_H
