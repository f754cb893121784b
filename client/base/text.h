// Text for output, made safe for a terminal or aligned in columns, and the lists in database
// columns. Everything from a database or a log record passes through here.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace swctl {

constexpr size_t outputColumns = 80; // for text that has lines to itself

// Escapes control characters and bytes that are not UTF-8 as \xNN.
std::string printable(std::string_view text);

// A log line that explains nothing: a command goes to every switch, and it is normal for some
// switch to have no handler for it.
bool isNoReason(std::string_view line);

// Replaces line ends with blanks, so that a record stays on one line.
std::string onOneLine(std::string text);

// Whether the locale uses UTF-8.
bool utf8Wanted();

// Like printable, but plain ASCII if the locale does not use UTF-8.
std::string shown(std::string_view text);

// The number of terminal columns that `text` occupies; it must be printable.
size_t displayWidth(std::string_view text);

// Pads `text` with blanks, on the left if the width is negative.
std::string padded(std::string_view text, int width);

// The entries of a comma-separated list in a column; consecutive commas count as one.
std::vector<std::string> entriesOf(const std::string &text);

// The parts of a text between separators, including empty ones.
std::vector<std::string> partsOf(std::string_view text, char separator);

// The blank-separated words of a line.
std::vector<std::string> wordsOf(std::string_view line);

// Whether to use colour on this stream: it is a terminal and NO_COLOR is not set.
bool colourWanted(FILE *stream);

// The width of the terminal in characters, 0 if the stream is not a terminal.
size_t terminalColumns(FILE *stream);

// Prints text in lines of at most `columns` characters, 0 for no limit. All lines but the first
// are indented by `hang` more.
void printWrapped(FILE *stream, const std::string &text, size_t columns, size_t indent,
                  size_t hang);

// Prints each line with its own indent, wrapped at outputColumns and safe for the terminal.
void printLines(FILE *stream, std::string_view text);

// The word that a misspelt one is probably meant to be; empty: none is like it.
std::string nearest(const std::string &word, const std::vector<std::string> &known);

// A table in which each column is as wide as its widest cell.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> header) { rows.push_back(std::move(header)); }

    void add(std::vector<std::string> row) { rows.push_back(std::move(row)); }
    void print(FILE *stream) const;

private:
    std::vector<std::vector<std::string>> rows; // the first is the header
};

} // namespace swctl
