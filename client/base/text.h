// Text on its way out, made safe for a terminal or in aligned columns, and lists of a column.
// Everything that comes from a database or a log record passes through here.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace swctl {

constexpr size_t outputColumns = 80; // of texts in lines of their own

// Control characters and bytes that are no UTF-8 come out as \xNN.
std::string printable(std::string_view text);

// Of the service's log: that a switch has no handler for a command that is handed to
// every switch is normal, and no reason for anything.
bool isNoReason(std::string_view line);

// Line ends within a text become blanks, so that a record stays one line.
std::string onOneLine(std::string text);

// Whether this terminal takes UTF-8, by the locale.
bool utf8Wanted();

// As printable, and plain ASCII where the locale is not UTF-8.
std::string shown(std::string_view text);

// Characters that a terminal shows for `text`, which must be printable.
size_t displayWidth(std::string_view text);

// `text` filled up with blanks; to the left of it for a negative width.
std::string padded(std::string_view text, int width);

// The parts of a column's list between commas; a run of commas separates once.
std::vector<std::string> entriesOf(const std::string &text);

// The parts of a text between separators, empty ones included.
std::vector<std::string> partsOf(std::string_view text, char separator);

// The words of a line, parted by blanks.
std::vector<std::string> wordsOf(std::string_view line);

// Whether escape sequences for colour are wanted on this stream: a terminal
// whose user did not set NO_COLOR.
bool colourWanted(FILE *stream);

// The width of the terminal behind the stream in characters; 0 when it is none.
size_t terminalColumns(FILE *stream);

// Prints a text in lines of at most `columns` characters, 0 for no limit; those
// after the first stand `hang` further in.
void printWrapped(FILE *stream, const std::string &text, size_t columns, size_t indent,
                  size_t hang);

// Lines between line ends, each with its own indent, wrapped at outputColumns and
// safe for the terminal.
void printLines(FILE *stream, std::string_view text);

// Rows of cells, printed with every column as wide as its widest cell.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> header) { rows.push_back(std::move(header)); }

    void add(std::vector<std::string> row) { rows.push_back(std::move(row)); }
    void print(FILE *stream) const;

private:
    std::vector<std::vector<std::string>> rows; // the first is the header
};

} // namespace swctl
