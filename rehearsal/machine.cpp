// The devices and interfaces of a rehearsal; nothing here touches the real ones.
#include "rehearsal/machine.h"

#include "devices/engine/host.h"
#include "devices/engine/tools.h"

#include <algorithm>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <new>
#include <set>
#include <vector>

namespace rehearsal {

namespace {

constexpr int chipDescriptor = 1000; // for every device node; there is one chip
constexpr size_t maxWords = engine::maxArguments + 1;

State *state = nullptr;
std::map<std::string, std::array<unsigned char, 6>, std::less<>> interfaces;
std::set<std::string, std::less<>> devices; // empty: every node exists

bool interfaceExists(const char *name)
{
    return interfaces.contains(std::string_view(name));
}

bool kernelHasVlans()
{
    return false; // sub-interfaces are part of the engine's model
}

int vlanRequest(vlan_ioctl_args &)
{
    return ENOPKG;
}

int interfaceUpSet(const char *name, bool)
{
    return interfaceExists(name) ? 0 : ENODEV;
}

constexpr engine::Host host = {.interfaceExists = interfaceExists,
                               .kernelHasVlans = kernelHasVlans,
                               .vlanRequest = vlanRequest,
                               .interfaceUpSet = interfaceUpSet};

// The words of a plain command line, stored in `line`.
std::vector<const char *> wordsOf(std::string &line)
{
    std::vector<const char *> words;
    char *rest = nullptr;
    for (char *word = strtok_r(line.data(), " \t", &rest); word != nullptr;
         word = strtok_r(nullptr, " \t", &rest))
        words.push_back(word);
    return words;
}

// The system's tools, with which a bridge is driven. They are assumed to succeed; their
// effect is read from their lines.
bool isOfLinux(const char *tool)
{
    constexpr const char *tools[] = {"ip", "bridge", "tc", "ethtool"};
    return std::any_of(std::begin(tools), std::end(tools),
                       [tool](const char *known) { return strcmp(known, tool) == 0; });
}

// A newly created bridge is an interface: "ip link add name NAME type bridge ...".
void noteBridge(const std::vector<const char *> &words)
{
    constexpr std::array<unsigned char, 6> address = {2, 0, 0, 0, 0, 0xb0};
    constexpr size_t place = 4;
    if (words.size() > place && strcmp(words[2], "add") == 0 && strcmp(words[3], "name") == 0)
        interfaces[words[place]] = address;
}

} // namespace

bool machineInit()
{
    void *memory =
        ftruncate(stateFd, sizeof(State)) == 0
            ? mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED, stateFd, 0)
            : MAP_FAILED;
    if (memory == MAP_FAILED)
        return false;
    // A new file is all zeros, like most of a device after power-on.
    state = static_cast<State *>(memory);
    new (&state->chip) chip::Model();
    new (&state->uptimeFiles) std::bitset<engine::vlanIdCount>();
    engine::statePowerOn(state->engine);
    return true;
}

State &machine()
{
    return *state;
}

void interfaceAdd(const unsigned char (&address)[6], const std::string &name)
{
    memcpy(interfaces[name].data(), address, sizeof(address));
}

void deviceAdd(const std::string &path)
{
    devices.insert(path);
}

// The rehearsed machine has just been switched on: the kernel has no bridge yet.
int deviceOpen(const std::string &path)
{
    if (path.starts_with("/sys/class/net/"))
        return -ENOENT;
    return devices.empty() || devices.contains(path) ? chipDescriptor : -ENOENT;
}

int commandRun(const char *commandLine)
{
    std::string line(commandLine);
    const std::vector<const char *> words = wordsOf(line);
    if (words.empty())
        return 0;
    if (isOfLinux(words[0])) {
        noteBridge(words);
        return 0;
    }
    if (words.size() > maxWords)
        return -E2BIG;
    const char *slash = strrchr(words[0], '/');
    const engine::Tool *tool = engine::toolByName(slash != nullptr ? slash + 1 : words[0]);
    if (tool == nullptr)
        return -ENOENT;
    engine::Reply reply;
    return engine::toolRun(*tool, host, state->engine, static_cast<int>(words.size()) - 1,
                           words.data() + 1, reply);
}

// The pipelines read a register with the register tool and write it back through awk.
// With gawk's bit functions, the setting pipeline sets the highest bit but writes the
// lower half without leading zeros; the clearing one writes zero.
int pipelineRun(const char *line)
{
    unsigned address = 0;
    if (sscanf(line, "/corefs/bin/memrw %x w", &address) != 1)
        return 127 << 8;
    const uint32_t place = (address - engine::registerBase) / engine::registerSize;
    if (place >= engine::registerCount)
        return 0; // the pipeline's status is awk's
    uint32_t &value = state->engine.registers[place];
    if (strstr(line, " or (") == nullptr) {
        value = 0;
        return 0;
    }
    const uint32_t wanted = value | 1u << 31;
    char text[24];
    snprintf(text, sizeof(text), "%x%x", wanted >> 16, wanted & 0xffff);
    value = static_cast<uint32_t>(strtoul(text, nullptr, 16));
    return 0;
}

int addressGet(const char *name, unsigned char (&address)[6])
{
    const auto found = interfaces.find(std::string_view(name));
    if (found == interfaces.end())
        return -ENODEV;
    memcpy(address, found->second.data(), sizeof(address));
    return 0;
}

} // namespace rehearsal
