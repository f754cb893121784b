// What one command line has said: the command and the values of its options.
#pragma once

#include "swctl/command.h"
#include "swctl/globals.h"

#include <cstdint>
#include <string>
#include <vector>

namespace swctl {

// Values are asked for by the name of an option, as "--ports", "--verbose" or "ID". Each
// is in the normal form that its check gave. A name that neither the command nor the
// table has is a mistake of ours, and thrown as one.
class Call {
public:
    Call() = default;
    Call(const CommandTable &table, const Place &place);

    Globals globals; // the same for every command

    [[nodiscard]] const CommandRow &command() const { return *row; }

    [[nodiscard]] bool has(const char *name) const; // given
    [[nodiscard]] bool flag(const char *name) const { return has(name); }

    // As given, else the initial value, else empty or 0.
    [[nodiscard]] const std::string &text(const char *name) const;
    [[nodiscard]] int64_t number(const char *name) const;
    [[nodiscard]] int integer(const char *name) const; // of one whose check keeps it in range
    [[nodiscard]] std::vector<std::string> list(const char *name) const; // none where not given

    // For the parser: what was given.
    void take(const OptionRow &option, std::vector<std::string> values);

private:
    struct Value {
        const OptionRow *option;
        std::vector<std::string> given; // empty: not given
        std::string text;               // the last given, or the initial one
    };

    [[nodiscard]] const Value &find(const char *name) const;

    const CommandRow *row = nullptr;
    std::vector<Value> values; // of every option that could be given
};

} // namespace swctl
