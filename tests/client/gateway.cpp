#include "gateway.h"

#include "backends/bcm/driver.h"
#include "client/base/number.h"
#include "client/base/wire.h"
#include "client/devices/chip/chip.h"
#include "client/devices/chip/chip_driver.h"
#include "common/log_entry.h"
#include "common/log_rank.h"
#include "platform/sal.h"
#include "swmgr/swmgr_client.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace swctl::test {
namespace {

constexpr const char *chipNode = "/dev/bcmsw";
constexpr const char *site = R"({"devices": {"/dev/bcmsw": "chip.sock"},
 "interfaces": {"eth0": "02:00:00:00:00:10", "eth1": "02:00:00:00:00:11"},
 "engineState": "state", "uptime": "uptime"})";
constexpr int shortestPatience = 1; // s that a client waits for an answer

std::string contents(const std::string &path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

// A value of the block that an event carries; empty where it has none.
std::string oldValue(const std::string &block, const std::string &column)
{
    std::vector<std::string> words;
    for (size_t at = 0; at < block.size(); at += words.back().size() + 1)
        words.emplace_back(block.c_str() + at);
    for (size_t i = 0; i < words.size() / 2; ++i)
        if (words[i] == column)
            return words[words.size() / 2 + i];
    return {};
}

const char *operationName(int operation)
{
    return operation == SWMGR_DB_INSERT   ? "insert"
           : operation == SWMGR_DB_UPDATE ? "update"
                                          : "delete";
}

} // namespace

const char *const soundRows =
    "INSERT INTO swGlobalCfg (switchName, switchDevice, vlanEnable, numPorts, switchLevel)"
    " VALUES ('BCM', '/dev/bcmsw', 1, 5, 1), ('PSE', NULL, 1, 4, 2);"
    "INSERT INTO swPortConfig (switchName, portNumber, interfaceName, phyDevice) VALUES"
    " ('BCM', 0, NULL, NULL), ('BCM', 1, NULL, NULL), ('BCM', 2, NULL, NULL),"
    " ('BCM', 3, NULL, NULL), ('BCM', 4, NULL, NULL), ('PSE', 1, 'eth0', 'BCM:1'),"
    " ('PSE', 2, 'eth0', 'BCM:2'), ('PSE', 3, 'eth0', 'BCM:3'), ('PSE', 4, 'eth1', 'BCM:4');"
    "INSERT INTO vlanEncapIf (vlanId, interfaceName, fwdMap, untagMap) VALUES"
    " (10, 'eth0', '0,1', '1'), (20, 'eth0', '1,2', '2'), (30, 'eth1', '1,3', NULL);";

std::string vlanRows(Database &database)
{
    std::string text;
    for (const Row &row : database.rows("vlanEncapIf"))
        text += (text.empty() ? "" : "; ") + row.text("vlanId") + " " + row.text("interfaceName") +
                " " + row.text("fwdMap") + " " + row.text("untagMap");
    return text;
}

// A module of the messaging, served by a thread of its own.
class Played::Module {
public:
    using Answer = std::function<int(int, const std::string &, const std::string &, std::string &)>;

    Module(int id, Answer how) : answer(std::move(how))
    {
        context = relayRegister(id, 0, &Module::handle, this);
        server = std::thread([this] {
            while (!stopped)
                relayListen(context, 2000);
        });
    }
    ~Module()
    {
        stopped = true;
        server.join();
        relayUnRegister(context);
    }
    Module(const Module &) = delete;
    Module &operator=(const Module &) = delete;

private:
    static int handle(void *self, RelayMsgHdr *, int type, void *data, int length, void *buffer,
                      uint32_t *bufferLength)
    {
        std::string sent, reply;
        if (buffer != nullptr)
            sent.assign(static_cast<char *>(buffer), *bufferLength);
        const int status = static_cast<Module *>(self)->answer(
            type, std::string(static_cast<char *>(data), static_cast<size_t>(length)), sent, reply);
        if (!reply.empty()) {
            memcpy(buffer, reply.data(), reply.size());
            *bufferLength = static_cast<uint32_t>(reply.size());
        }
        return status;
    }

    Answer answer;
    RelayCtx *context = nullptr;
    std::atomic<bool> stopped = false;
    std::thread server;
};

Played::Played() : kernel(std::make_unique<engine::State>())
{
    char name[] = "/tmp/client-test-XXXXXX"; // short, as addresses of sockets must be
    folder = mkdtemp(name);
    setenv("RELAY_DIR", file("relay").c_str(), 1);
    setenv("RELAY_TIMEOUT", std::to_string(shortestPatience).c_str(), 1);
    unsetenv("SWMGR_SITE");
    std::filesystem::create_directories(file("relay"));
    std::filesystem::create_directories(file("uptime"));
    write("site.json", site);
    Database fresh = Database::inMemory(); // whose file need not be waited for
    fresh.run((contents(SCHEMA) + soundRows).c_str());
    write("switch.db", fresh.serialised());
    engine::stateReset(*kernel);
    writeState();
}

Played::~Played()
{
    endService();
    log.reset();
    if (device >= 0)
        salClose(device);
    if (chip > 0) {
        kill(chip, SIGKILL);
        waitpid(chip, nullptr, 0);
    }
    std::error_code ignored; // a watching process may still be ending
    std::filesystem::remove_all(folder, ignored);
}

bool Played::isThere(const std::string &suffix) const
{
    return access((databaseFile() + suffix).c_str(), F_OK) == 0;
}

void Played::write(const std::string &name, const std::string &text) const
{
    std::ofstream(file(name), std::ios::binary) << text;
}

void Played::sql(const std::string &text) const
{
    Database(databaseFile(), Access::write).run(text.c_str());
}

std::string Played::rows() const
{
    Database database(databaseFile(), Access::read);
    return vlanRows(database);
}

GatewayView Played::view() const
{
    return GatewayView(Database(databaseFile(), Access::write), "");
}

void Played::startChip()
{
    const std::string socket = file("chip.sock");
    chip = fork();
    if (chip == 0)
        _exit(execl(SWCHIP, "swchip", "--socket", socket.c_str(), nullptr));
    for (int tries = 0; device < 0 && tries < 5000; ++tries, usleep(1000))
        device = salOpen(socket.c_str(), O_RDWR, 0);
    ASSERT_GE(device, 0);
}

void Played::serve(std::vector<Reply> script, Reply afterwards)
{
    endService();
    replies = std::move(script);
    lasting = afterwards;
    service = std::make_unique<Module>(
        SWMGR_RELAY_MODULE_ID, [this](int type, const std::string &data, const std::string &buffer,
                                      std::string &) { return answerService(type, data, buffer); });
}

void Played::endService()
{
    service.reset();
}

void Played::startLog()
{
    log = std::make_unique<Module>(
        LOGGING_RELAY_MODULE_ID,
        [this](int type, const std::string &data, const std::string &, std::string &reply) {
            return answerLog(type, data, reply);
        });
}

void Played::restart()
{
    const GatewayView gateway = view();
    Database database(databaseFile(), Access::read);
    Snapshot snapshot(database);
    const Rehearsal start = gateway.rehearseStart(snapshot)->finish();
    *kernel = start.state().engine;
    writeState();
    const Chip wanted = start.chip();
    for (const auto &[id, entry] : wanted.vlans)
        setEntry(id, entry.fwdMap, entry.untagMap);
    for (int port = 0; port < chipPortCount; ++port)
        setTag(port, wanted.ports[static_cast<size_t>(port)].pvid);
    known = vlanIdsIn(database);
    const std::lock_guard guard(lock);
    takeLog(start, /*answer=*/0);
}

// What the service logs up to an answer of the rehearsal, counted from the start's.
void Played::takeLog(const Rehearsal &rehearsal, int answer)
{
    int answers = 0;
    for (const Event &event : rehearsal.events()) {
        if (event.kind == rehearsal::Kind::answer && answers++ == answer)
            return;
        if (event.kind == rehearsal::Kind::log && answers == answer)
            said.emplace_back(event.data);
    }
}

// The service acts on a request for a setting, and logs what it does.
void Played::actOn(int type, const std::string &data)
{
    const GatewayView gateway = view();
    Database database(databaseFile(), Access::read);
    Snapshot snapshot(database);
    Script script = gateway.startScript(snapshot);
    const Rehearsal acted = rehearse(script.request(type, data));
    if (type == SW_CMD_PAUSE_FRAME)
        std::copy(std::begin(acted.state().engine.registers),
                  std::end(acted.state().engine.registers), kernel->registers);
    writeState();
    const std::lock_guard guard(lock);
    takeLog(acted, /*answer=*/1);
}

void Played::setEntry(int vlanId, int forward, int untagged) const
{
    BcmVlanEntryRecord record{};
    record.vlanId = static_cast<uint16_t>(vlanId);
    record.fwdMap = static_cast<uint16_t>(forward);
    record.untagMap = static_cast<uint16_t>(untagged);
    if (device < 0)
        return; // there is no chip
    EXPECT_EQ(salIoctl(device, BCM_IOC_VLAN_ENTRY_SET, &record), 0);
}

void Played::setTag(int port, int vlanId) const
{
    BcmPortTagRecord record{};
    record.port = static_cast<uint16_t>(port);
    record.vid = static_cast<uint16_t>(vlanId);
    if (device < 0)
        return; // there is no chip
    EXPECT_EQ(salIoctl(device, BCM_IOC_DEFAULT_TAG_SET, &record), 0);
}

void Played::setInterface(int vlanId, const std::string &parent, bool up)
{
    for (engine::SubInterface &one : kernel->interfaces[vlanId])
        if (one.present == 0 || parent == one.parent) {
            one = {};
            one.present = 1;
            one.up = up ? 1 : 0;
            parent.copy(one.parent, sizeof(one.parent) - 1);
            break;
        }
    writeState();
}

void Played::dropInterfaces(int vlanId)
{
    for (engine::SubInterface &one : kernel->interfaces[vlanId])
        one = {};
    writeState();
}

std::string Played::heard()
{
    const std::lock_guard guard(lock);
    std::string text;
    for (const std::string &message : std::exchange(messages, {}))
        text += (text.empty() ? "" : ", ") + message;
    return text;
}

void Played::writeState() const
{
    write("state", std::string(bytesOf(*kernel)));
}

Reply Played::nextReply()
{
    if (replies.empty())
        return lasting;
    const Reply reply = replies.front();
    replies.erase(replies.begin());
    return reply;
}

// An update leaves the sub-interface as it is, and so does the service.
void Played::act(int operation, int vlanId)
{
    if (operation == SWMGR_DB_DELETE) {
        known.erase(vlanId);
        setEntry(vlanId, 0, 0);
        dropInterfaces(vlanId);
        return;
    }
    known.insert(vlanId);
    const GatewayView gateway = view();
    Database database(databaseFile(), Access::read);
    Snapshot snapshot(database);
    const Rehearsal start = gateway.rehearseStart(snapshot)->finish();
    const Chip wanted = start.chip();
    const ChipVlan entry = entryOf(wanted, vlanId);
    setEntry(vlanId, entry.fwdMap, entry.untagMap);
    for (int port = 0; port < chipPortCount; ++port)
        setTag(port, wanted.ports[static_cast<size_t>(port)].pvid);
    if (operation != SWMGR_DB_INSERT)
        return;
    std::copy(std::begin(start.state().engine.interfaces[vlanId]),
              std::end(start.state().engine.interfaces[vlanId]), kernel->interfaces[vlanId]);
    writeState();
}

int Played::answerService(int type, const std::string &data, const std::string &buffer)
{
    int operation = 0, vlanId = 0;
    std::string text;
    if (type == SWMGR_MSG_DB_EVENT) {
        SwMgrDbEvent event{};
        memcpy(&event, data.data(), std::min(data.size(), sizeof(event)));
        operation = event.opCode;
        if (event.tableName == std::string("swctl")) {
            const std::lock_guard guard(lock);
            marker = event.rowId;
            return 0;
        }
        text = std::string(operationName(operation)) + " " + std::to_string(event.rowId);
        if (event.tableName != std::string("vlanEncapIf"))
            text += std::string(" in ") + event.tableName;
        const std::string old = oldValue(buffer, "vlanId");
        if (!old.empty())
            text += " of " + old;
        Database database(databaseFile(), Access::read);
        const std::optional<Row> row = database.rowById("vlanEncapIf", event.rowId);
        vlanId = toInt(row && old.empty() ? row->text("vlanId") : old);
        journalSeen = journalSeen && isThere(".change");
    } else if (type != SW_CMD_VLAN_ADD && type != SW_CMD_VLAN_DELETE) {
        const Reply reply = nextReply();
        const std::string target = data.substr(0, data.find('\0'));
        if (reply == Reply::accept || reply == Reply::spoil)
            actOn(type, data);
        const std::lock_guard guard(lock);
        messages.push_back("command " + std::to_string(type) + " for " + target);
        return reply == Reply::refuse || reply == Reply::spoil ? -22 : 0;
    } else {
        SwMgrVlanRequest request{};
        memcpy(&request, data.data(), std::min(data.size(), sizeof(request)));
        vlanId = request.vlan.vlanId;
        text = "request " + std::to_string(type) + " of " + std::to_string(vlanId);
    }
    const Reply reply = nextReply();
    {
        const std::lock_guard guard(lock);
        messages.push_back(text);
        if (reply == Reply::refuse || reply == Reply::spoil || reply == Reply::complain)
            said.push_back("(switch=PSE) no room for " + text);
    }
    const bool acts = reply == Reply::accept || reply == Reply::spoil || reply == Reply::stayAway;
    if (type == SW_CMD_VLAN_ADD && acts)
        known.insert(vlanId);
    else if (type == SW_CMD_VLAN_DELETE && !known.contains(vlanId))
        return -1;
    else if (acts && vlanId != 0)
        act(type == SW_CMD_VLAN_DELETE ? int{SWMGR_DB_DELETE} : operation, vlanId);
    if (reply == Reply::writeAfter)
        sql("UPDATE vlanEncapIf SET fwdMap = '4' WHERE rowid = 1");
    if (reply == Reply::stayAway)
        std::this_thread::sleep_for(std::chrono::milliseconds(shortestPatience * 1000 + 200));
    return reply == Reply::refuse || reply == Reply::spoil || reply == Reply::writeAfter ? -22 : 0;
}

// Every record is one line of the service. Of settings it keeps every line.
int Played::answerLog(int type, const std::string &data, std::string &reply)
{
    SwMgrLogFollowRequest request{};
    memcpy(&request, data.data(), std::min(data.size(), sizeof(request)));
    const std::lock_guard guard(lock);
    if (type == LOGGING_MSG_MARKER)
        return static_cast<uint64_t>(marker) == request.after ? 1 : 0;
    SwMgrLogAnswer answer{};
    answer.epoch = 1;
    answer.newest = answer.last = said.size();
    std::string entries;
    for (size_t i = 0; i < said.size(); ++i) {
        const std::string &text = said[i];
        ToolLine tool{};
        const bool failed = toolLineRead(text.data(), text.size(), tool) && tool.status != 0 &&
                            !toolRemovesInterface(tool);
        if (i + 1 <= request.after || request.after == SWMGR_LOG_NEWEST_ONLY ||
            (type == LOGGING_MSG_TOOLS && !failed))
            continue;
        const SwMgrLogEntry entry{
            i + 1, int64_t{4102444800} * 1000000000,  SWMGR_RELAY_MODULE_ID, SWMGR_LOG_ERROR,
            0,     static_cast<uint32_t>(text.size())};
        std::string bytes = std::string(bytesOf(entry)) + text;
        bytes.resize(logEntrySize(text.size()));
        entries += bytes;
        ++answer.count;
    }
    reply = std::string(bytesOf(answer)) + entries;
    return 0;
}

} // namespace swctl::test
