// What the library alone costs: a startup with many VLANs, a live change, one switch
// command. Each startup runs in a separate process, since the model is never freed.
#include "null_platform.h"

#include "swmgr/swmgr.h"
#include "swmgr/swmgr_client.h"

#include "service/dispatch.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <map>
#include <sqlite3.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

std::string databasePath()
{
    return "/dev/shm/swmgr-bench-" + std::to_string(getpid()) + ".db";
}

void run(sqlite3 *db, const std::string &sql)
{
    char *error = nullptr;
    if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
        fprintf(stderr, "%s: %s\n", sql.c_str(), error);
        abort();
    }
}

std::string vlanRow(int id)
{
    const std::string port = std::to_string(id % 4);
    return "INSERT INTO vlanEncapIf VALUES (" + std::to_string(id) + ",0,'1,2,3','" + port +
           "','','','eth" + std::to_string(id % 2) + "','vlan" + std::to_string(id) + "');";
}

// Two switches, nine ports, `vlans` VLANs.
void databaseMake(const std::string &path, int vlans)
{
    unlink(path.c_str());
    sqlite3 *db = nullptr;
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK)
        abort();
    std::string sql =
        "CREATE TABLE swGlobalCfg(switchName,switchDevice,numPorts,vlanEnable,qosEnable,"
        "pauseFrameEnable,igmpSnoopingEnable,mldSnoopingEnable,switchLevel);"
        "CREATE TABLE swPortConfig(portNumber,portType,phyDevice,switchName,interfaceName,PVID,"
        "mirroring,trustMode,rateLimit,schedMode,numQueues,queue1Weight,queue2Weight,"
        "queue3Weight,queue4Weight);"
        "CREATE TABLE vlanEncapIf(vlanId,inSwitchOnly,fwdMap,untagMap,ingressMap,egressMap,"
        "interfaceName,LogicalIfName);"
        "INSERT INTO swGlobalCfg VALUES('PSE','',4,1,1,1,1,1,2),('BCM','/dev/bcm',5,1,1,1,1,1,1);"
        "BEGIN;";
    for (int port = 0; port < 5; ++port)
        sql += "INSERT INTO swPortConfig VALUES(" + std::to_string(port) +
               ",0,'','BCM','lan',1,0,0,0,0,4,1,2,4,8);";
    for (int port = 1; port < 5; ++port)
        sql += "INSERT INTO swPortConfig VALUES(" + std::to_string(port) +
               ",0,'BCM:" + std::to_string(port) + "','PSE','eth0',1,0,0,0,0,4,1,2,4,8);";
    for (int id = 1; id <= vlans; ++id)
        sql += vlanRow(id);
    run(db, sql + "COMMIT;");
    sqlite3_close(db);
}

struct Start {
    double seconds;
    uint64_t calls;
    uint64_t commandLines;
    uint64_t heapBytes;
};

Start startMeasure(const std::string &path)
{
    int channel[2];
    if (pipe(channel) != 0)
        abort();
    const pid_t child = fork();
    if (child == 0) {
        const auto heapBefore = mallinfo2();
        const auto begin = Clock::now();
        if (swMgrInit(path.c_str()) != 0)
            abort();
        const std::chrono::duration<double> took = Clock::now() - begin;
        const auto heapAfter = mallinfo2();
        const Start start{took.count(), platformCalls.total(), platformCalls.commandLines,
                          heapAfter.uordblks + heapAfter.hblkhd - heapBefore.uordblks -
                              heapBefore.hblkhd};
        if (write(channel[1], &start, sizeof(start)) != sizeof(start))
            abort();
        _exit(0);
    }
    close(channel[1]);
    Start start{};
    const ssize_t got = read(channel[0], &start, sizeof(start));
    close(channel[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (got != sizeof(start) || status != 0)
        abort();
    return start;
}

void start(benchmark::State &state)
{
    const auto vlans = static_cast<int>(state.range(0));
    const std::string path = databasePath();
    databaseMake(path, vlans);
    Start measured{};
    double best = 1e9;
    for (auto _ : state) {
        measured = startMeasure(path);
        state.SetIterationTime(measured.seconds);
        best = measured.seconds < best ? measured.seconds : best;
    }
    unlink(path.c_str());
    static std::map<int, double> perVlan; // of the sizes already measured
    perVlan[vlans] = best / vlans;
    state.counters["us_per_vlan"] = best / vlans * 1e6;
    if (perVlan.count(256) != 0)
        state.counters["per_vlan_vs_256"] = perVlan[vlans] / perVlan[256];
    state.counters["platform_calls"] = static_cast<double>(measured.calls);
    state.counters["command_lines"] = static_cast<double>(measured.commandLines);
    state.counters["heap_kB"] = static_cast<double>(measured.heapBytes) / 1024;
}
BENCHMARK(start)->Arg(16)->Arg(256)->Arg(1024)->Arg(4094)->UseManualTime()->Unit(
    benchmark::kMillisecond);

int send(int type, void *data, int length, void *buffer, uint32_t bufferLength)
{
    RelayMsgHdr header{};
    header.request = 1;
    return swMgrIoctlHandler(nullptr, &header, type, data, length, buffer, &bufferLength);
}

// The old values of a VLAN row, as its writer sends them.
std::string oldValues(int id)
{
    std::string block;
    for (const char *text : {"vlanId", "inSwitchOnly", "fwdMap", "untagMap", "ingressMap",
                             "egressMap", "interfaceName", "LogicalIfName"})
        block += std::string(text) + '\0';
    for (const std::string &text :
         {std::to_string(id), std::string("0"), std::string("1,2,3"), std::string("1"),
          std::string(), std::string(), std::string("eth0"), std::string("x")})
        block += text + '\0';
    return block;
}

// Starts a service with `vlans` VLANs in a separate process, then runs `body`.
void inService(benchmark::State &state, int vlans, void (*body)(benchmark::State &))
{
    const std::string path = databasePath();
    databaseMake(path, vlans);
    sqlite3 *db = nullptr;
    sqlite3_open(path.c_str(), &db);
    run(db, "INSERT INTO vlanEncapIf VALUES (4094,0,'1,2,3','1','','','eth0','x');");
    run(db, "CREATE TABLE parked AS SELECT * FROM vlanEncapIf WHERE vlanId=4094;"
            "DELETE FROM vlanEncapIf WHERE vlanId=4094;");
    if (swMgrInit(path.c_str()) != 0)
        abort();
    run(db, "INSERT INTO vlanEncapIf SELECT * FROM parked;");
    sqlite3_close(db);
    platformCalls = {};
    body(state);
    state.counters["platform_calls"] = benchmark::Counter(
        static_cast<double>(platformCalls.total()), benchmark::Counter::kAvgIterations);
    swMgrDeinit();
    unlink(path.c_str());
}

// Google Benchmark calls a function several times to find the number of iterations. The
// model lives as long as the process, so it is built only once for each number of VLANs,
// smallest first, and grows.
void liveAddAndDelete(benchmark::State &state)
{
    static int rows = 0;
    const auto vlans = static_cast<int>(state.range(0));
    rows = vlans + 1;
    inService(state, vlans, [](benchmark::State &inner) {
        SwMgrDbEvent event{};
        strcpy(event.tableName, "vlanEncapIf");
        event.rowId = rows;
        double adds = 0;
        for (auto _ : inner) {
            const auto begin = Clock::now();
            event.opCode = SWMGR_DB_INSERT;
            if (send(SWMGR_MSG_DB_EVENT, &event, sizeof(event), nullptr, 0) != 0)
                abort();
            adds += std::chrono::duration<double>(Clock::now() - begin).count();
            std::string block = oldValues(4094);
            event.opCode = SWMGR_DB_DELETE;
            if (send(SWMGR_MSG_DB_EVENT, &event, sizeof(event), block.data(),
                     static_cast<uint32_t>(block.size())) != 0)
                abort();
        }
        inner.counters["add_us"] =
            benchmark::Counter(adds * 1e6, benchmark::Counter::kAvgIterations);
    });
}
BENCHMARK(liveAddAndDelete)->Arg(16)->Arg(1024)->Unit(benchmark::kMicrosecond);

void switchCommand(benchmark::State &state)
{
    inService(
        state, 16,
        [](benchmark::State &inner) {
            SwMgrSwitchCmdRequest request{};
            strcpy(request.switchName, "PSE");
            const SwCmdRateLimit limit{1, 1, {}, 50000};
            memcpy(request.payload, &limit, sizeof(limit));
            for (auto _ : inner)
                if (send(SW_CMD_RATE_LIMIT, &request, sizeof(request), nullptr, 0) != 0)
                    abort();
        });
}
BENCHMARK(switchCommand)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
