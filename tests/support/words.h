// The words of a command line, separated by spaces; "..." may contain spaces, x*64 stands
// for 64 times x, \0 and \n for those characters.
#pragma once

#include <cstdint>
#include <deque>
#include <string>

// What a word stands for.
std::string textOf(const std::string &word);

class Words {
public:
    explicit Words(const std::string &line) : rest(line) {}

    [[nodiscard]] bool end();
    std::string next();
    int64_t number(); // decimal or 0x...
    std::string remainder();

    // Bytes as parts between commas: 7 four bytes, b7 one, h7 two, q7 eight,
    // t64:eth0 a text in a field of 64, z8 eight zeros.
    std::string bytes();

private:
    std::string rest;
};
