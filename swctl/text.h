// Text on its way out: made safe for a terminal, as JSON, or in aligned columns.
// Everything that comes from a database or a log record passes through here.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace swctl {

// Control characters and bytes that are no UTF-8 come out as \xNN.
std::string printable(std::string_view text);

// Characters that a terminal shows for `text`, which must be printable.
size_t displayWidth(std::string_view text);

// `text` filled up with blanks; to the left of it for a negative width.
std::string padded(std::string_view text, int width);

// Whether escape sequences for colour are wanted on this stream: a terminal
// whose user did not set NO_COLOR.
bool colourWanted(FILE *stream);

// Writes JSON piece by piece and puts the commas.
class JsonWriter {
public:
    JsonWriter &open(char bracket); // '{' or '['
    JsonWriter &close(char bracket);
    JsonWriter &key(std::string_view name);
    JsonWriter &string(std::string_view text); // invalid UTF-8 becomes U+FFFD
    JsonWriter &number(int64_t value);
    JsonWriter &boolean(bool value);
    JsonWriter &null();

    [[nodiscard]] const std::string &text() const { return out; }
    void print(FILE *stream) const; // with a line end, flushed

private:
    void separate();

    std::string out;
    bool first = true; // no comma before the next piece
};

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
