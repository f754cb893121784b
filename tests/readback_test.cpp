// Where things are, and reading back a chip of the program SWCHIP and state files.
#include "backends/bcm/driver.h"
#include "client/base/failure.h"
#include "client/devices/chip/chip_driver.h"
#include "client/devices/host_links.h"
#include "devices/engine/state.h"
#include "platform/sal.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>

using namespace swctl;

namespace {

const std::string folder = testing::TempDir() + "readback." + std::to_string(getpid()) + "/";

struct Readback : testing::Test {
    Readback() { std::filesystem::create_directories(folder); }
    ~Readback() override { std::filesystem::remove_all(folder); }
};

std::string put(const std::string &name, const std::string &bytes)
{
    return std::ofstream(folder + name, std::ios::binary) << bytes, folder + name;
}

TEST_F(Readback, ofASiteOfAnotherKindIsRefusedAndNoneIsTakenFromTheCurrentFolder)
{
    for (const auto &[text, reason] : std::initializer_list<std::array<std::string, 2>>{
             {std::string(100000, '['), "nested more than 100 levels"},
             {R"({"devices":)", "parse error"},
             {R"({"devices":["/dev/x"]})", "'devices' needs an object"},
             {R"({"interfaces":{"eth0":"02:00:00:00:00:10:11"}})", "is not a hardware address"}})
        try {
            ADD_FAILURE() << findSite("", put("site.json", text)).uptimeFolder << text;
        } catch (const Failure &failure) {
            EXPECT_TRUE(std::string(failure.what()).find(reason) != reason.npos) << failure.what();
        }
    std::filesystem::current_path(folder);
    EXPECT_EQ(findSite("/nowhere/switch.db", "").uptimeFolder, "/var");
}

TEST_F(Readback, ofAChipAsksItsDriver)
{
    const Site site = findSite("", put("site.json", R"({"devices":{"/dev/x":"x.sock"}})"));
    EXPECT_EQ(readChip(site, "/dev/x", {}).reason, folder + "x.sock: No such file or directory");
    const std::string socket = folder + "x.sock";
    const pid_t chip = fork();
    if (chip == 0)
        _exit(execl(SWCHIP, "swchip", "--socket", socket.c_str(), nullptr));
    int device = -1; // the program needs a moment
    for (int tries = 0; device < 0 && tries < 5000; ++tries, usleep(1000))
        device = salOpen(socket.c_str(), O_RDWR, 0);
    BcmVlanEntryRecord entry{100, 0x16, 0x03, 0}; // port 0: untagged, and no member
    ASSERT_EQ(salIoctl(device, BCM_IOC_VLAN_ENTRY_SET, &entry), 0);
    const std::map<int, ChipVlan> vlans{{100, {0x16, 0x03}}};
    EXPECT_EQ(readChip(site, "/dev/x", {7, 100}).held.value_or(Chip{}).vlans, vlans);
    EXPECT_EQ(readChipPorts(site, "/dev/x").held.value_or(Chip{}).ports[4].statistics[0], 0x88);
    EXPECT_EQ(readChip(site, "/dev/x", {4095}).reason, socket + ": Invalid argument");
    kill(chip, SIGTERM);
    waitpid(chip, nullptr, 0);
}

TEST_F(Readback, ofAStateFileGivesWhatItHoldsOrWhyNot)
{
    const auto state = std::make_unique<engine::State>();
    engine::stateReset(*state);
    state->interfaces[10][1] = {1, 1, {0, 0, 3}, {0, 7}, "eth0"};
    const std::string bytes(reinterpret_cast<const char *>(state.get()), sizeof(*state));
    put("VLAN.10.Uptime", put("VLAN.99999999999.Uptime", ""));
    const Kernel held = readKernel({{}, {}, put("state", bytes), folder}).held.value_or(Kernel{});
    EXPECT_EQ(held.interfaces.at("eth0.10"), (SubInterface{"eth0", 10, true, {0, 0, 3}, {0, 7}}));
    EXPECT_EQ(held.uptimeFiles, std::set<int>{10});
    EXPECT_FALSE(readKernel({{}, {}, put("state", std::string(bytes.size(), 'x')), folder}).held);
    EXPECT_TRUE(readKernel({{}, {}, put("state", ""), folder}).held);
}

} // namespace
