// A parsed command line: the command and the values of its options.
#pragma once

#include "swctl/command.h"
#include "swctl/globals.h"

#include <cstdint>
#include <string>
#include <vector>

namespace swctl {

// Values are looked up by the name of an option, e.g. "--ports", "--verbose" or "ID", and are
// in the normal form produced by its check. A name that neither the command nor the table has
// is a programming error and throws.
class Call {
public:
    Call() = default;
    Call(const CommandTable &table, const Place &place);

    Globals globals; // common to every command

    [[nodiscard]] const CommandRow &command() const { return *row; }

    [[nodiscard]] bool has(const char *name) const; // was given
    [[nodiscard]] bool flag(const char *name) const { return has(name); }

    // The given value, else the initial value, else empty or 0.
    [[nodiscard]] const std::string &text(const char *name) const;
    [[nodiscard]] int64_t number(const char *name) const;
    [[nodiscard]] int integer(const char *name) const; // for options whose check limits the range
    [[nodiscard]] std::vector<std::string> list(const char *name) const; // empty if not given

    // For the parser: stores what was given.
    void take(const OptionRow &option, std::vector<std::string> values);

private:
    struct Value {
        const OptionRow *option;
        std::vector<std::string> given; // empty if not given
        std::string text;               // the last value given, or the initial one
    };

    [[nodiscard]] const Value &find(const char *name) const;

    const CommandRow *row = nullptr;
    std::vector<Value> values; // one for every possible option
};

} // namespace swctl
