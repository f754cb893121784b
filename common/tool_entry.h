// Which entry of which table a command line of the service is about, so that a later
// line about the same entry can be recognised.
#pragma once

#include "common/log_rank.h"

#include <cstdio>
#include <cstdlib>

struct ToolEntry {
    char key[96];   // tool and entry, as "vlan_table_func 10"; cut if too long
    int32_t vlanId; // the VLAN that the entry belongs to; 0: none

    [[nodiscard]] bool sameAs(const ToolEntry &other) const { return strcmp(key, other.key) == 0; }
};

// The tools whose lines name a VLAN, and where they do.
struct VlanTool {
    const char *tool;
    const char *operation;
    int place; // position of the VLAN id among the words, the tool being 0; negative: from the end
};
constexpr VlanTool vlanTools[] = {
    {"vlan_table_func", "edit", 6},
    {"arl_table_func", "add", 3},
    {"arl_table_func", "del", -1}, // the address may be missing
};
constexpr int toolWords = 16;

// The tools whose lines set something, and how many words identify it; the rest is its value.
struct SettingTool {
    std::string_view begin;
    int words;
};
constexpr SettingTool settingTools[] = {
    {"rate_limit_func set ", 3}, {"queue_weight_func set ", 3},
    {"pri_ctl_func set ", 3},    {"tc_func set ", 2},
    {"sppe_ioctl rl ", 2},       {"tc qdisc del ", 5},
    {"tc qdisc add ", 8},        {"ethtool -A ", 3},
};

// The length of the first `words` words.
inline size_t wordsLength(std::string_view text, int words)
{
    size_t at = 0;
    while (at < text.size() && (text[at] != ' ' || --words > 0))
        ++at;
    return at;
}

// The length of the part of a command line that names a setting; 0: it is about none.
inline size_t settingLength(std::string_view line)
{
    for (const SettingTool &known : settingTools)
        if (line.starts_with(known.begin))
            return wordsLength(line, known.words);
    return 0;
}

// Finds out what a command line is about. Lines about a VLAN's entry or a setting have the
// same key, whatever they do to it; for any other line, the key is the whole line.
inline void toolEntryRead(const ToolLine &tool, ToolEntry &entry)
{
    char line[512];
    const size_t length = tool.length < sizeof(line) - 1 ? tool.length : sizeof(line) - 1;
    memcpy(line, tool.line, length);
    line[length] = '\0';
    entry.vlanId = 0;
    char whole[sizeof(line)];
    memcpy(whole, line, length + 1);

    const char *words[toolWords] = {};
    int count = 0;
    char *rest = nullptr;
    for (char *word = strtok_r(line, " ", &rest); word != nullptr && count < toolWords;
         word = strtok_r(nullptr, " ", &rest))
        words[count++] = word;
    for (const VlanTool &known : vlanTools) {
        if (count < 2 || strcmp(words[0], known.tool) != 0 ||
            strcmp(words[1], known.operation) != 0)
            continue;
        const int place = known.place < 0 ? count + known.place : known.place;
        if (place >= count)
            continue;
        entry.vlanId = atoi(words[place]); // NOLINT(cert-err34-c): the service's own number
        snprintf(entry.key, sizeof(entry.key), "%s %d", known.tool, entry.vlanId);
        return;
    }
    if (const size_t setting = settingLength(whole); setting != 0)
        whole[setting] = '\0';
    snprintf(entry.key, sizeof(entry.key), "%.95s", whole);
}
