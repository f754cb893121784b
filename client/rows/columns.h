// The tables of the configuration database and their columns, one row each: what a column
// holds, how it is given on the command line, what it is called in a list. Options and
// their help, checks, triggers, the schemas of database and JSON, and lists are made from
// these rows. What the service itself decodes is in its own src/store/decode.cpp.
#pragma once

#include "client/base/number.h"

#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>

namespace swctl {

constexpr const char *switchTableName = "swGlobalCfg";
constexpr const char *portTableName = "swPortConfig";
constexpr const char *vlanTableName = "vlanEncapIf";

constexpr int portListBits = 32;      // a list names the ports 0 to 31
constexpr int64_t mostRate = 1300480; // kbit/s, 127 of the coarsest steps of the engine's limiter

struct Table {
    const char *name;    // in the database
    const char *noun;    // what a row is called, e.g. "VLAN"
    const char *list;    // its rows in a JSON configuration, e.g. "vlans"
    const char *comment; // in the schema
};

enum class Holds {
    number,
    flag,          // 0 or 1, given as on or off
    text,          // any
    switchName,    // a text without ":" and ","
    interface,     // a text that is part of command lines
    portInterface, // one that is part of command lines if the switch is a bridge
    portList,      // port numbers between commas
    mapping        // SWITCH:PORT between commas
};

// What a number outside the range of its column leads to.
enum class Outside {
    refused,    // the service or a device refuses it or does something else
    misleading, // nothing happens that the row says
    passed,     // nothing: it is only kept, or any number but 0 counts as on
    ruled       // a rule of its own says it
};

struct Column {
    const char *table;
    const char *name;
    Holds holds;
    int64_t least;         // of a number
    int64_t most;          // of a number; of a text: bytes that the service's record takes
    int64_t gap;           // the one number between that is not accepted; noGap: none
    Outside outside;       // for a number or a flag
    bool needed;           // without the column no row means anything
    const char *standard;  // DEFAULT in the schema; "": none
    const char *option;    // "--ports"; without dashes: an argument, which tells rows apart
    const char *valueName; // the value in help, e.g. "LIST"
    const char *heading;   // in lists; "": not shown there
    const char *help;      // of the option, without a full stop
    const char *comment;   // in the schema

    static constexpr int64_t noGap = -1;

    [[nodiscard]] bool isNumber() const { return holds == Holds::number || holds == Holds::flag; }
    [[nodiscard]] bool isIdentity() const { return option[0] != '-'; }
    [[nodiscard]] bool accepts(int64_t value) const
    {
        return value >= least && value <= most && value != gap;
    }
    // The numbers that it accepts, in words: "0 to 4094", "0, 1 and 3", "1 and more".
    [[nodiscard]] std::string values() const;
};

// In the order in which the service loads them.
std::span<const Table> configurationTables();
const Table &tableOf(std::string_view name); // throws std::out_of_range for another name

// The columns of a table; none for another name.
std::span<const Column> columnsOf(std::string_view table);
const Column *findColumn(std::string_view table, std::string_view name); // null: there is none

// Made from the rows: data/schema.sql and data/configuration.schema.json.
std::string databaseSchema();
std::string configurationSchema();

} // namespace swctl
