// The engine's tools: an input is a few calls, one per line, on one state.
#include "input.h"

#include "devices/engine/host.h"
#include "devices/engine/show.h"
#include "devices/engine/tools.h"

#include <cerrno>
#include <linux/if_vlan.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace fuzz;

constexpr size_t longestProgram = 6;

bool kernelVlans = false; // chosen by the input

bool interfaceExists(const char *name)
{
    return strcmp(name, "eth0") == 0 || strcmp(name, "eth1") == 0;
}

bool kernelHasVlans()
{
    return kernelVlans;
}

int vlanRequest(vlan_ioctl_args &request)
{
    require(memchr(request.device1, '\0', sizeof(request.device1)) != nullptr,
            "the kernel gets a name that ends");
    return interfaceExists(request.device1) ? 0 : ENODEV;
}

int interfaceUpSet(const char *name, bool)
{
    return interfaceExists(name) ? 0 : EPERM;
}

constexpr engine::Host host = {interfaceExists, kernelHasVlans, vlanRequest, interfaceUpSet};

// Chosen by the first byte. Checking the whole state takes far longer than a call, so
// few values ask for it.
struct Options {
    bool kernelVlans;
    bool show;    // print the state at the end
    bool compare; // compare the state before and after failing calls

    explicit Options(uint8_t byte)
        : kernelVlans(byte % 2 != 0), show(byte / 2 % 16 == 1), compare(byte / 2 % 16 == 2)
    {
    }
};

// The state after power-on, in memory that discards what was written to it.
engine::State &stateFresh()
{
    static engine::State *mapped = nullptr;
    if (mapped != nullptr) {
        madvise(mapped, sizeof(*mapped), MADV_DONTNEED);
        return *mapped;
    }
    const int memory = memfd_create("state", MFD_CLOEXEC);
    require(memory >= 0 && ftruncate(memory, sizeof(*mapped)) == 0, "there is memory");
    const auto map = [memory](int flags) {
        void *at = mmap(nullptr, sizeof(*mapped), PROT_READ | PROT_WRITE, flags, memory, 0);
        require(at != MAP_FAILED, "there is memory");
        return static_cast<engine::State *>(at);
    };
    engine::State *original = map(MAP_SHARED);
    engine::stateReset(*original);
    munmap(original, sizeof(*original));
    mapped = map(MAP_PRIVATE);
    return *mapped;
}

std::vector<std::string> split(const std::string &text, char separator)
{
    std::vector<std::string> parts(1);
    for (const char c : text)
        if (c == separator)
            parts.emplace_back();
        else
            parts.back() += c;
    return parts;
}

// Returns the status of the call; an unknown tool does nothing.
int call(engine::State &state, const std::string &line)
{
    const std::vector<std::string> words = split(line, ' ');
    const engine::Tool *tool = engine::toolByName(words[0].c_str());
    if (tool == nullptr)
        return engine::badArguments;
    std::vector<const char *> arguments;
    for (size_t w = 1; w < words.size(); ++w)
        arguments.push_back(words[w].c_str());
    engine::Reply reply;
    const int status = engine::toolRun(*tool, host, state, static_cast<int>(arguments.size()),
                                       arguments.data(), reply);
    require(status >= 0 && status <= engine::refused, "a call is done, wrong or refused");
    require(memchr(reply.output, '\0', sizeof(reply.output)) != nullptr &&
                memchr(reply.error, '\0', sizeof(reply.error)) != nullptr,
            "a reply ends");
    require((status == 0) == (reply.error[0] == '\0'), "a call that fails says why");
    return status;
}

void callAndCompare(engine::State &state, const std::string &line)
{
    static auto *before = new engine::State;
    memcpy(before, &state, sizeof(state));
    if (call(state, line) != 0)
        require(memcmp(before, &state, sizeof(state)) == 0, "a failed call changes nothing");
}

void stateShow(const engine::State &state)
{
    static FILE *nowhere = fopen("/dev/null", "w");
    engine::tablePrint(state, nowhere);
    engine::jsonPrint(state, nowhere);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    engine::State &state = stateFresh();
    Input input(bytes, size);
    const Options options(input.byte());
    kernelVlans = options.kernelVlans;
    std::vector<std::string> lines = split(input.rest(), '\n');
    lines.resize(std::min(lines.size(), longestProgram));
    for (const std::string &line : lines)
        if (options.compare)
            callAndCompare(state, line);
        else
            static_cast<void>(call(state, line));
    if (options.show)
        stateShow(state);
    return 0;
}
