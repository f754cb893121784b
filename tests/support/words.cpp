// Splits a command line.
#include "support/words.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

std::string textOf(const std::string &word)
{
    if (word.size() > 2 && word[1] == '*')
        return std::string(strtoul(word.c_str() + 2, nullptr, 10), word[0]);
    std::string text;
    for (size_t i = 0; i < word.size(); ++i)
        if (word[i] == '\\' && i + 1 < word.size())
            text += word[++i] == '0' ? '\0' : '\n';
        else
            text += word[i];
    return text;
}

namespace {

// The part of a record that one word describes.
std::string field(const std::string &part)
{
    const char kind = part.empty() ? '\0' : part[0];
    if (kind == 't') {
        const size_t colon = part.find(':');
        std::string text = textOf(part.substr(colon + 1));
        text.resize(strtoul(part.c_str() + 1, nullptr, 10), '\0');
        return text;
    }
    if (kind == 'z')
        return std::string(strtoul(part.c_str() + 1, nullptr, 10), '\0');
    const size_t size = kind == 'b' ? 1 : kind == 'h' ? 2 : kind == 'q' ? 8 : 4;
    const auto value = strtoll(part.c_str() + (isalpha(kind) ? 1 : 0), nullptr, 0);
    return std::string(reinterpret_cast<const char *>(&value), size);
}

} // namespace

bool Words::end()
{
    rest.erase(0, rest.find_first_not_of(' '));
    return rest.empty();
}

std::string Words::next()
{
    if (end())
        return "";
    const bool quoted = rest[0] == '"';
    const size_t length = std::min(rest.find(quoted ? '"' : ' ', 1), rest.size());
    const std::string word = rest.substr(quoted ? 1 : 0, quoted ? length - 1 : length);
    rest.erase(0, length + 1);
    return textOf(word);
}

int64_t Words::number()
{
    return strtoll(next().c_str(), nullptr, 0);
}

std::string Words::remainder()
{
    static_cast<void>(end());
    return std::move(rest);
}

std::string Words::bytes()
{
    std::string all;
    std::istringstream parts(next());
    for (std::string part; std::getline(parts, part, ',');)
        all += field(part);
    return all;
}
