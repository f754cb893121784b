// A gateway for a test, in a temporary folder: a database, a chip of the program swchip,
// the kernel's sub-interfaces in a state file, and a service and a log daemon played by
// this process. The service answers as its script says, and acts as a fresh start from the
// database would.
#pragma once

#include "client/change/recover.h"
#include "client/gateway/gateway_view.h"
#include "devices/engine/state.h"
#include "platform/relay.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace swctl::test {

#define EXPECT_HAS(text, part)   EXPECT_PRED_FORMAT2(testing::IsSubstring, part, text)
#define EXPECT_LACKS(text, part) EXPECT_PRED_FORMAT2(testing::IsNotSubstring, part, text)

// What the service does with an event or a request for a VLAN.
enum class Reply {
    accept,     // acts, answers 0
    ignore,     // answers 0 only
    complain,   // says why it does nothing, answers 0
    refuse,     // answers -22 only
    spoil,      // acts, answers -22
    stayAway,   // acts, and answers when nobody waits any more
    writeAfter, // another writer changes row 1; answers -22
};

// Two switches, their ports, VLANs 10, 20 and 30 in rows 1, 2 and 3.
extern const char *const soundRows;

// "30 eth0 1,2 2" for each VLAN's row, by VLAN id and row id.
std::string vlanRows(Database &database);

// "insert 4, delete 2": what an event says, and the VLAN id among its old values.
class Played : public testing::Test {
protected:
    Played();
    ~Played() override;

    [[nodiscard]] std::string file(const std::string &name) const { return folder + "/" + name; }
    [[nodiscard]] std::string databaseFile() const { return file("switch.db"); }
    [[nodiscard]] bool isThere(const std::string &suffix) const; // a file beside the database
    void write(const std::string &name, const std::string &text) const;

    void sql(const std::string &text) const;
    [[nodiscard]] std::string rows() const; // of VLANs
    [[nodiscard]] GatewayView view() const;

    void startChip();
    void serve(std::vector<Reply> script = {}, Reply afterwards = Reply::accept);
    void endService();
    void startLog();

    // Chip and kernel become what a fresh start from the database gives.
    void restart();
    void setEntry(int vlanId, int forward, int untagged) const;
    void setTag(int port, int vlanId) const;
    void setInterface(int vlanId, const std::string &parent, bool up = true);
    void dropInterfaces(int vlanId);

    // What the service was sent since: "insert 4", "delete 2 of 20", "request 38 of 7".
    std::string heard();

    std::string folder;
    bool journalSeen = true;       // beside the database, whenever the service was told
    std::vector<std::string> said; // of the service, in its log
    std::set<int> known;           // VLANs of the service

private:
    class Module;

    int answerService(int type, const std::string &data, const std::string &buffer);
    int answerLog(int type, const std::string &data, std::string &reply);
    void act(int operation, int vlanId);
    void actOn(int type, const std::string &data);
    void takeLog(const Rehearsal &rehearsal, int answer);
    void writeState() const;
    Reply nextReply();

    std::unique_ptr<engine::State> kernel;
    std::vector<Reply> replies;
    Reply lasting = Reply::accept;
    std::vector<std::string> messages;
    int64_t marker = 0; // row of the last marker
    std::mutex lock;    // of messages and said
    pid_t chip = 0;
    int device = -1;
    std::unique_ptr<Module> service, log;
};

} // namespace swctl::test
