// A table of the newest lines about settings, in the order in which they arrived.
#include "standins/logd/settings.h"

#include "common/log_rank.h"
#include "common/tool_entry.h"
#include "standins/logd/ring.h"

#include <cstring>

namespace logd {

namespace {

// Other lines that begin like this, and how many words identify the setting.
struct SettingLine {
    std::string_view begin;
    int words;
};
constexpr SettingLine otherLines[] = {
    {"VLAN Enable status ", 3},
    {"Configure upstream bandwdith limit of ", 5},
};
// The requests of the chip's VLAN mode have no line of their own when they fail.
constexpr std::string_view modeFailures[] = {
    "Failed to enable VLAN in ", "Failed to process cmd (33) ", "Failed to process cmd 33 "};

struct Kept {
    SwMgrLogEntry entry; // `dropped`: records lost since
    uint32_t keyLength;  // the text before it names the setting
    char text[192];
};

// Written by settingNote, on the daemon's only thread. Without gaps, oldest first.
constinit Kept kept[settingCapacity] = {};
constinit uint32_t count = 0;
constinit uint64_t unkept = 0; // settings for which there was no room

// The length of the part of the text that names a setting; 0: it is about none.
uint32_t keyLengthOf(std::string_view &text)
{
    text = withoutPlace(text);
    ToolLine tool;
    if (toolLineRead(text.data(), text.size(), tool)) {
        const size_t length = settingLength({tool.line, tool.length});
        return length == 0
                   ? 0
                   : static_cast<uint32_t>(length + static_cast<size_t>(tool.line - text.data()));
    }
    text = withoutLabel(text);
    for (const SettingLine &known : otherLines)
        if (text.starts_with(known.begin))
            return static_cast<uint32_t>(wordsLength(text, known.words));
    for (const std::string_view failure : modeFailures)
        if (text.starts_with(failure))
            return static_cast<uint32_t>(failure.size());
    return 0;
}

void forget(std::string_view key)
{
    uint32_t left = 0;
    for (uint32_t i = 0; i < count; ++i)
        if (std::string_view(kept[i].text, kept[i].keyLength) != key)
            kept[left++] = kept[i];
    count = left;
}

} // namespace

void settingNote(const SwMgrLogEntry &entry, const char *text)
{
    if (entry.module != SWMGR_RELAY_MODULE_ID)
        return;
    for (uint32_t i = 0; entry.dropped != 0 && i < count; ++i)
        kept[i].entry.dropped += entry.dropped;
    std::string_view message(text, entry.textLength);
    const uint32_t keyLength = keyLengthOf(message);
    if (keyLength == 0 || keyLength > sizeof(kept[0].text))
        return;
    forget({message.data(), keyLength});
    if (count == settingCapacity) {
        ++unkept;
        return;
    }
    Kept &newest = kept[count++];
    newest.entry = entry;
    newest.entry.dropped = 0;
    newest.entry.textLength = static_cast<uint32_t>(
        message.size() < sizeof(newest.text) ? message.size() : sizeof(newest.text));
    newest.keyLength = keyLength;
    memcpy(newest.text, message.data(), newest.entry.textLength);
}

int settingsAnswer(const void *request, int requestLength, void *answer, uint32_t *answerLength)
{
    return keptAnswer(
        request, requestLength, answer, answerLength, unkept, count,
        [](uint32_t i, const char *&text) -> const SwMgrLogEntry & {
            text = kept[i].text;
            return kept[i].entry;
        });
}

} // namespace logd
