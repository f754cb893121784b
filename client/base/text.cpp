#include "client/base/text.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>
#include <numeric>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace swctl {
namespace {

// Length in bytes of the UTF-8 sequence at the start of `text`; 0 if it is invalid, overlong or
// a surrogate.
size_t sequenceLength(std::string_view text, uint32_t &codePoint)
{
    struct Form {
        size_t length;            // bytes
        uint32_t least;           // smallest code point that needs this length
        unsigned char mask, lead; // bits of the first byte that identify this length
    };
    static constexpr Form forms[] = {{1, 0, 0x80, 0x00},
                                     {2, 0x80, 0xe0, 0xc0},
                                     {3, 0x800, 0xf0, 0xe0},
                                     {4, 0x10000, 0xf8, 0xf0}};
    const auto lead = static_cast<unsigned char>(text[0]);
    for (const Form &form : forms) {
        if ((lead & form.mask) != form.lead)
            continue;
        if (text.size() < form.length)
            return 0;
        codePoint = lead & static_cast<unsigned char>(~form.mask);
        for (size_t i = 1; i < form.length; ++i) {
            const auto next = static_cast<unsigned char>(text[i]);
            if ((next & 0xc0) != 0x80)
                return 0;
            codePoint = codePoint << 6 | (next & 0x3fu);
        }
        const bool surrogate = codePoint >= 0xd800 && codePoint <= 0xdfff;
        return codePoint < form.least || codePoint > 0x10ffff || surrogate ? 0 : form.length;
    }
    return 0;
}

bool isControl(uint32_t codePoint)
{
    // C0, DEL and C1, and the marks that reverse the writing direction.
    return codePoint < 0x20 || (codePoint >= 0x7f && codePoint < 0xa0) ||
           (codePoint >= 0x2028 && codePoint <= 0x202e) ||
           (codePoint >= 0x2066 && codePoint <= 0x2069);
}

void appendFormatted(std::string &out, const char *format, unsigned value)
{
    std::array<char, 16> buffer{};
    const int length = snprintf(buffer.data(), buffer.size(), format, value);
    out.append(buffer.data(), static_cast<size_t>(length));
}

// Insertions, deletions and replacements to turn one word into the other.
size_t distance(const std::string &a, const std::string &b)
{
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i);
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, replaced}));
        }
    }
    return row[b.size()];
}

} // namespace

std::string printable(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        uint32_t codePoint = 0;
        const size_t length = sequenceLength(text, codePoint);
        const size_t step = std::max<size_t>(length, 1);
        if (length != 0 && !isControl(codePoint))
            out.append(text.substr(0, step));
        else
            for (const char byte : text.substr(0, step))
                appendFormatted(out, "\\x%02x", static_cast<unsigned char>(byte));
        text.remove_prefix(step);
    }
    return out;
}

bool utf8Wanted()
{
    static const bool wanted =
        setlocale(LC_CTYPE, "") != nullptr && strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
    return wanted;
}

bool isNoReason(std::string_view line)
{
    return line.find("Invalid command (") != std::string_view::npos ||
           line.find("processing returned 0") != std::string_view::npos;
}

std::string onOneLine(std::string text)
{
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

std::string shown(std::string_view text)
{
    std::string safe = printable(text);
    if (utf8Wanted())
        return safe;
    std::string out;
    for (const char byte : safe)
        if (static_cast<unsigned char>(byte) < 0x80)
            out += byte;
        else
            appendFormatted(out, "\\x%02x", static_cast<unsigned char>(byte));
    return out;
}

size_t displayWidth(std::string_view text)
{
    return static_cast<size_t>(std::count_if(
        text.begin(), text.end(),
        [](char byte) { return (static_cast<unsigned char>(byte) & 0xc0) != 0x80; }));
}

std::string padded(std::string_view text, int width)
{
    const auto wanted = static_cast<size_t>(abs(width));
    const size_t shown = displayWidth(text);
    const std::string fill(wanted > shown ? wanted - shown : 0, ' ');
    return width < 0 ? fill + std::string(text) : std::string(text) + fill;
}

std::vector<std::string> entriesOf(const std::string &text)
{
    std::vector<std::string> entries;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find(',', start), text.size());
        if (end > start)
            entries.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return entries;
}

std::vector<std::string> partsOf(std::string_view text, char separator)
{
    std::vector<std::string> parts;
    for (size_t start = 0; start <= text.size();) {
        const size_t end = std::min(text.find(separator, start), text.size());
        parts.emplace_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

std::vector<std::string> wordsOf(std::string_view line)
{
    constexpr const char *blanks = " \t\n\v\f\r";
    std::vector<std::string> words;
    for (size_t start = 0;
         (start = line.find_first_not_of(blanks, start)) != std::string_view::npos;) {
        const size_t end = std::min(line.find_first_of(blanks, start), line.size());
        words.emplace_back(line.substr(start, end - start));
        start = end;
    }
    return words;
}

bool colourWanted(FILE *stream)
{
    const char *refused = getenv("NO_COLOR");
    return isatty(fileno(stream)) == 1 && (refused == nullptr || *refused == '\0');
}

size_t terminalColumns(FILE *stream)
{
    constexpr size_t usual = 80;
    if (isatty(fileno(stream)) != 1)
        return 0;
    const char *wanted = getenv("COLUMNS");
    const unsigned long columns = wanted != nullptr ? strtoul(wanted, nullptr, 10) : 0;
    struct winsize size = {};
    if (columns > 0)
        return columns;
    return ioctl(fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usual;
}

void printWrapped(FILE *stream, const std::string &text, size_t columns, size_t indent, size_t hang)
{
    std::string line(indent, ' ');
    bool empty = true; // no word on this line yet
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find(' ', start), text.size());
        const std::string word = text.substr(start, end - start);
        if (!empty && columns != 0 && displayWidth(line) + 1 + displayWidth(word) > columns) {
            fprintf(stream, "%s\n", line.c_str());
            line.assign(indent + hang, ' ');
            empty = true;
        }
        line += (empty ? "" : " ") + word;
        empty = false;
        start = end + 1;
    }
    fprintf(stream, "%s\n", line.c_str());
}

void printLines(FILE *stream, std::string_view text)
{
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        const size_t indent = std::min(line.find_first_not_of(' '), line.size());
        printWrapped(stream, shown(line.substr(indent)), outputColumns, indent, /*hang=*/2);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

void TextTable::print(FILE *stream) const
{
    std::vector<size_t> widths(rows.front().size());
    for (const auto &row : rows)
        for (size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], displayWidth(row[column]));
    for (const auto &row : rows) {
        std::string line;
        for (size_t column = 0; column < row.size(); ++column)
            line += padded(row[column], static_cast<int>(widths[column])) + "  ";
        line.erase(line.find_last_not_of(' ') + 1);
        fprintf(stream, "%s\n", line.c_str());
    }
}

std::string nearest(const std::string &word, const std::vector<std::string> &known)
{
    const auto found = std::min_element(known.begin(), known.end(),
                                        [&](const std::string &a, const std::string &b) {
                                            return distance(word, a) < distance(word, b);
                                        });
    if (found == known.end() || distance(word, *found) > std::max<size_t>(2, word.size() / 3))
        return {};
    return *found;
}

} // namespace swctl
