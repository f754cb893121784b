// From what is asked for to the changes of rows.
#include "gateway.h"

#include "client/base/failure.h"
#include "client/plan/wish.h"
#include "swmgr/swmgr_client.h"

using namespace std::string_literals;

namespace swctl::test {
namespace {

struct Plan : Played {
    Database database{databaseFile(), Access::write};
};

using Kind = RowWish::Kind;

RowWish vlan(Kind kind, int64_t id, std::vector<Assignment> values = {}, bool mayMove = true)
{
    return {
        kind,   "vlanEncapIf", "VLAN " + std::to_string(id), {{"vlanId", id}}, std::move(values),
        mayMove};
}

RowWish port(Kind kind, const char *owner, int64_t number, std::vector<Assignment> values = {})
{
    return {kind,
            "swPortConfig",
            "port",
            {{"switchName", std::string(owner)}, {"portNumber", number}},
            std::move(values)};
}

// "+40 1,2/2" and "~10 0,1/1>0,1/" and "-20 1,2/2", in the order of the events.
std::string text(const ChangeSet &changes)
{
    const auto row = [](const Row &one) {
        return one.find("vlanId") != nullptr
                   ? one.text("fwdMap") + "/" + one.text("untagMap")
                   : one.text("switchName") + one.text("portNumber") + one.text("phyDevice");
    };
    std::string all;
    for (const RowChange &change : changes.rows) {
        const Row &named = change.after ? *change.after : *change.before;
        all += (all.empty() ? "" : " ") + std::string(!change.before  ? "+"
                                                      : !change.after ? "-"
                                                                      : "~");
        all += named.text("vlanId") + (named.find("vlanId") != nullptr ? ":" : "");
        all += change.before ? row(*change.before) : "";
        all += change.before && change.after ? ">" : "";
        all += change.after ? row(*change.after) : "";
        all += change.told ? "" : "!";
    }
    return all;
}

// The changes, or why there are none.
std::string planned(Database &database, const Wish &wish)
{
    try {
        const ChangeSet changes = planOf(database, wish);
        std::string all = text(changes);
        for (const std::string &consequence : changes.consequences)
            all += " | " + consequence;
        return all;
    } catch (const Failure &failure) {
        return std::to_string(failure.status) + " " + failure.what();
    }
}

TEST_F(Plan, ofARowTakesAlongWhatMustChangeWithIt)
{
    sql("INSERT INTO vlanEncapIf (vlanId, fwdMap) VALUES (60, '1'), (60, '2')");
    const std::string left = " | port 1 is no longer untagged in VLAN 10";
    const std::pair<RowWish, std::string> cases[] = {
        {vlan(Kind::add, 40, {{"fwdMap", "3,4"s}, {"untagMap", "4"s}}), "+40:3,4/4"},
        {vlan(Kind::add, 40, {{"fwdMap", "1"s}, {"untagMap", "1"s}}),
         "+40:1/1 ~10:0,1/1>0,1/" + left},
        {vlan(Kind::add, 40, {{"untagMap", "1,2"s}}),
         "+40:/1,2 ~10:0,1/1>0,1/ ~20:1,2/2>1,2/" + left +
             " | port 2 is no longer untagged in VLAN 20"},
        {vlan(Kind::add, 40, {{"untagMap", "1"s}}, false),
         "1 refused: port 1 is untagged in VLAN 10 already, and --no-move keeps it there; "
         "nothing was changed"},
        {vlan(Kind::add, 10), "1 refused: VLAN 10 is configured already; nothing was changed"},
        {vlan(Kind::set, 10, {{"fwdMap", "0"s}}), "~10:0,1/1>0/1"},
        {vlan(Kind::set, 10, {{"fwdMap", "0,1"s}}), "~10:0,1/1>0,1/1"},
        {vlan(Kind::set, 10, {{"fwdMap", "+4,-0,+4"s}}), "~10:0,1/1>1,4/1"},
        {vlan(Kind::set, 20, {{"untagMap", "-2"s}}), "~20:1,2/2>1,2/"},
        {vlan(Kind::add, 40, {{"fwdMap", "+3,-1"s}}), "+40:3/"},
        {vlan(Kind::set, 20, {{"untagMap", "1,2"s}}), "~20:1,2/2>1,2/1,2 ~10:0,1/1>0,1/" + left},
        {vlan(Kind::set, 20, {{"interfaceName", "eth1"s}}), "-20:1,2/2 +20:1,2/2"},
        {vlan(Kind::set, 20, {{"inSwitchOnly", int64_t{1}}}), "-20:1,2/2 +20:1,2/2"},
        {vlan(Kind::set, 20, {{"vlanId", int64_t{21}}}), "-20:1,2/2 +21:1,2/2"},
        {vlan(Kind::set, 20, {{"vlanId", int64_t{30}}}),
         "1 refused: VLAN 30 is configured already; nothing was changed"},
        {vlan(Kind::set, 11, {{"fwdMap", "0"s}}), "2 there is no VLAN 11 in the database"},
        {vlan(Kind::set, 60), "2 2 rows of vlanEncapIf match; name one of them with --rowid: 4 5"},
        {{Kind::set, "vlanEncapIf", "VLAN 60", {{"rowid", int64_t{5}}}, {{"fwdMap", "0"s}}},
         "~60:2/>0/"},
        {{Kind::remove, "vlanEncapIf", "VLAN 60", {{"rowid", int64_t{9}}}, {}},
         "2 there is no VLAN 60 in the database in that row"},
        {vlan(Kind::remove, 20), "-20:1,2/2"},
        {vlan(Kind::remove, 21), "2 there is no VLAN 21 in the database"},
        {port(Kind::add, "PSE", 5, {{"untagMap", "1"s}}), "+PSE5"},
        {port(Kind::set, "PSE", 4, {{"phyDevice", "BCM:0"s}}), "~PSE4BCM:4>PSE4BCM:0"},
        {port(Kind::set, "PSE", 4, {{"phyDevice", "BCM:4"s}}), ""},
        {port(Kind::remove, "PSE", 4), "-PSE4BCM:4"},
    };
    const std::string before = vlanRows(database);
    for (const auto &[wish, expected] : cases)
        EXPECT_EQ(planned(database, wish), expected);
    EXPECT_EQ(vlanRows(database), before) << "plans are not written";
    EXPECT_EQ(planOf(database, vlan(Kind::add, 40)).verb, "added");
    EXPECT_EQ(planOf(database, vlan(Kind::set, 10)).verb, "changed");
    EXPECT_EQ(planOf(database, vlan(Kind::remove, 10)).verb, "deleted");
    const ChangeSet moved = planOf(database, vlan(Kind::set, 20, {{"vlanId", int64_t{21}}}));
    EXPECT_EQ(moved.rows[1].after->rowId, 0) << "a row of its own";
    EXPECT_EQ(moved.what, "VLAN 20");
}

TEST_F(Plan, ofABatchSeesEachRowAsTheOneBeforeLeavesIt)
{
    const std::pair<std::vector<RowWish>, std::string> cases[] = {
        {{vlan(Kind::add, 40), vlan(Kind::set, 40, {{"fwdMap", "3"s}}), vlan(Kind::remove, 30)},
         "+40:3/ -30:1,3/"},
        {{vlan(Kind::set, 10, {{"fwdMap", "3"s}}), vlan(Kind::set, 10, {{"untagMap", "3"s}})},
         "~10:0,1/1>3/3"},
        {{vlan(Kind::add, 40), vlan(Kind::remove, 40)}, ""},
        {{vlan(Kind::set, 10, {{"fwdMap", "3"s}}), vlan(Kind::remove, 10),
          vlan(Kind::add, 10, {{"fwdMap", "4"s}})},
         "-10:0,1/1 +10:4/"},
        {{vlan(Kind::remove, 20), vlan(Kind::add, 20), vlan(Kind::add, 40), vlan(Kind::add, 50)},
         "-20:1,2/2 +20:/ +40:/ +50:/"},
        {{vlan(Kind::add, 40), vlan(Kind::add, 40)},
         "1 refused: VLAN 40 is configured already; nothing was changed"},
    };
    for (const auto &[rows, expected] : cases) {
        const std::string before = vlanRows(database);
        {
            const Transaction transaction(database, Access::write);
            EXPECT_EQ(planned(database, BatchWish{"commands", rows}), expected);
            EXPECT_EQ(vlanRows(database).empty(), before.empty());
        }
        EXPECT_EQ(vlanRows(database), before);
    }
    const Transaction transaction(database, Access::write);
    const ChangeSet all = planOf(database, BatchWish{"3 commands", cases[0].first});
    EXPECT_EQ(all.what + " " + all.verb, "3 commands done");
    EXPECT_EQ(rows(), "10 eth0 0,1 1; 20 eth0 1,2 2; 30 eth1 1,3 ");
    EXPECT_EQ(vlanRows(database), rows()) << "what was tried is gone again";
}

TEST_F(Plan, ofAFileIsTheSmallestChangeInAnOrderThatTheServiceCanFollow)
{
    const std::string ten = R"({"vlanId":10,"interfaceName":"eth0","fwdMap":"0,1"})";
    const std::string thirty = R"({"vlanId":30})";
    const std::pair<std::string, std::string> cases[] = {
        {"{}", ""},
        {R"({"$schema":"x","vlans":[{"vlanId":10},{"vlanId":20},{"vlanId":30}]})", ""},
        {R"({"vlans":[{"vlanId":10,"fwdMap":"0,1,4"},{"vlanId":20},{"vlanId":30}]})",
         "~10:0,1/1>0,1,4/1"},
        {R"({"vlans":[{"vlanId":30},{"vlanId":40,"fwdMap":"1"},{"vlanId":20,"untagMap":null}]})",
         "-10:0,1/1 ~20:1,2/2>1,2/ +40:1/"},
        {R"({"vlans":[{"vlanId":"10"},{"vlanId":20},{"vlanId":30,"interfaceName":"eth0"}]})",
         "-30:1,3/ +30:1,3/"},
        {R"({"vlans":[{"vlanId":10},{"vlanId":20,"inSwitchOnly":1},{"vlanId":30}]})",
         "-20:1,2/2 +20:1,2/2"},
        {R"({"vlans":[{"vlanId":10},{"vlanId":20,"inSwitchOnly":0},{"vlanId":30}]})", ""},
        {R"({"switches":[{"switchName":"BCM","numPorts":4},{"switchName":"PSE"}]})", "~BCM>BCM"},
        {R"({"switches":[{"switchName":"PSE"}],"vlans":[{"vlanId":10},{"vlanId":20}]})",
         "-30:1,3/ -BCM"},
        // A new port, and those that are mapped onto it.
        {R"({"ports":[{"switchName":"BCM","portNumber":0},{"switchName":"BCM","portNumber":1},
             {"switchName":"BCM","portNumber":2},{"switchName":"BCM","portNumber":3},
             {"switchName":"BCM","portNumber":4},{"switchName":"BCM","portNumber":5},
             {"switchName":"PSE","portNumber":1},{"switchName":"PSE","portNumber":2},
             {"switchName":"PSE","portNumber":3},
             {"switchName":"PSE","portNumber":4,"phyDevice":"BCM:4,BCM:5"}]})",
         "-PSE4BCM:4 +BCM5 +PSE4BCM:4,BCM:5!"},
        {"", "2 f: parse error"},
        {"[]", "2 f: it is not an object with switches, ports and vlans"},
        {R"({"version":1,"vlans":[{"vlan":10,"members":[0,1,4]},{"vlan":20,"switchOnly":false},
             {"vlan":30,"untagged":[]}]})",
         "~10:0,1/1>0,1,4/1 ~30:1,3/>1,3/"},
        {R"({"vlan":[]})",
         "2 f: 'vlan' is not a list of switches, ports or vlans; did you mean 'vlans'?"},
        {R"({"version":2})", "2 f: version: this swctl reads version 1"},
        {R"({"vlans":{}})", "2 f: 'vlans' is not a list of switches, ports or vlans"},
        {R"({"vlans":[1]})", "2 f: vlans[0]: it is not an object"},
        {R"({"vlans":[{"vlanId":1},{}]})", "2 f: vlans[1]: 'vlan' is missing"},
        {R"({"ports":[{"portNumber":1}]})", "2 f: ports[0]: 'switch' is missing"},
        {R"({"ports":[{"switchName":"PSE"}]})", "2 f: ports[0]: 'port' is missing"},
        {R"({"vlans":[{"vlanId":[1]}]})", "2 f: vlans[0].vlanId: it is not a whole number"},
        {R"({"vlans":[{"vlan":true}]})", "2 f: vlans[0].vlan: it is not a whole number"},
        {R"({"vlans":[{"vlan":1e308}]})", "2 f: vlans[0].vlan: it is not a whole number"},
        {R"({"vlans":[{"vlan":10.0}]})", "2 f: vlans[0].vlan: it is not a whole number"},
        {R"({"vlans":[{"vlan":"10-19"}]})", "2 f: vlans[0].vlan: it is not a whole number"},
        {R"({"vlans":[{"vlan":1,"members":[1,32]}]})",
         "2 f: vlans[0].members[1]: it is not a port number from 0 to 31"},
        {R"({"ports":[{"switch":"PSE","port":1,"map":["BCM:1,BCM:2"]}]})",
         "2 f: ports[0].map[0]: it is not a text such as \"BCM:1\""},
        {R"({"vlans":[{"vlan":1,"interface":[1]}]})",
         "2 f: vlans[0].interface: it is neither text nor null"},
        {R"({"vlans":[{"vlan":1,"vlanId":2}]})",
         "2 f: vlans[0].vlanId: it is given under two names"},
        {R"({"vlans":[{"vlan":1},{"vlan":2,"members":[1],"members":[2]}]})",
         "2 f: vlans[1].members is given twice"},
        {R"({"vlans":[],"vlans":[]})", "2 f: vlans is given twice"},
        {R"({"vlans":[{"vlanId":1,"member":"1"}]})",
         "2 f: vlans[0].member: vlanEncapIf has no such column; did you mean 'members'?"},
    };
    for (const auto &[file, expected] : cases) {
        std::string found;
        try {
            found = planned(database, fileWishOf(file, "f"));
        } catch (const Failure &failure) {
            found = std::to_string(failure.status) + " " + failure.what();
        }
        EXPECT_EQ(found.substr(0, expected.starts_with("2 f: parse") ? expected.size() : 999),
                  expected)
            << file;
    }
}

TEST_F(Plan, ofAFileOfWhatIsThereIsNone)
{
    sql("UPDATE vlanEncapIf SET egressMap = x'00ff', ingressMap = 5.5 WHERE rowid = 1;"
        "INSERT INTO vlanEncapIf (vlanId, fwdMap) VALUES (10, '9')");
    const Json json = configurationJson(database);
    const std::vector<Json> &vlans = json.at("vlans").values();
    EXPECT_EQ(json.at("switches").values().size(), 2u);
    EXPECT_EQ(json.at("ports").values().size(), 9u);
    ASSERT_EQ(vlans.size(), 4u);
    EXPECT_EQ(vlans[0].find("id"), nullptr);
    EXPECT_EQ(vlans[1].at("vlan").integer(), 20);
    EXPECT_EQ(vlans[1].at("members").oneLine(), "[1,2]");
    EXPECT_FALSE(vlans[1].at("switchOnly").truth());
    EXPECT_EQ(json.at("ports").values()[5].at("map").oneLine(), "[\"BCM:1\"]");
    EXPECT_EQ(planned(database, fileWishOf(json.oneLine(), "f")), "");
    sql("DELETE FROM vlanEncapIf");
    EXPECT_EQ(planned(database, fileWishOf(json.oneLine(), "f")),
              "+10:0,1/1 +20:1,2/2 +30:1,3/ +10:9/");
}

TEST_F(Plan, ofUndoingNeedsTheRowsAsTheChangeLeftThem)
{
    ChangeSet changes = planOf(database, vlan(Kind::set, 10, {{"fwdMap", "3"s}}));
    EXPECT_EQ(planned(database, UndoWish{7, changes}),
              "1 refused: change 7 cannot be undone: its rows were changed again since; nothing "
              "was changed");
    EXPECT_EQ(planned(database, TakeBackWish{7, changes}), "") << "never written";
    writeRows(database, changes);
    EXPECT_EQ(planned(database, UndoWish{7, changes}), "~10:3/1>0,1/1");
    EXPECT_EQ(planned(database, TakeBackWish{7, changes}), "~10:3/1>0,1/1");
    const ChangeSet undo = planOf(database, UndoWish{7, changes});
    EXPECT_EQ(undo.undoes, 7);
    EXPECT_EQ(undo.what + ": " + undo.verb, "VLAN 10: as before change 7");
    const ChangeSet several = planOf(database, UndoToWish{7, changes});
    EXPECT_EQ(several.undoes, 0);
    EXPECT_EQ(several.undoesTo, 7);
    EXPECT_EQ(several.verb, "as after change 7");
    EXPECT_EQ(planOf(database, TakeBackWish{8, changes, true}).verb,
              "taken back before it was confirmed");
    const ChangeSet back = planOf(database, TakeBackWish{8, changes});
    EXPECT_EQ(back.undoes, 8);
    EXPECT_EQ(back.verb, "taken back, as nobody confirmed that it was changed");
}

} // namespace
} // namespace swctl::test
