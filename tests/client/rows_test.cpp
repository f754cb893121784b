// Changes of rows: joining, reversing, writing and announcing them, and their way through
// a file.
#include "gateway.h"

#include "client/base/failure.h"
#include "client/base/number.h"
#include "client/check/check.h"
#include "client/rows/check_rows.h"
#include "client/rows/columns.h"
#include "client/rows/row_json.h"
#include "client/rows/row_text.h"
#include "swmgr/swmgr_client.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::string_literals;

namespace swctl::test {
namespace {

struct Rows : Played {
    Database database{databaseFile(), Access::write};

    Row row(int64_t rowId) { return database.rowById("vlanEncapIf", rowId).value(); }
};

Row with(Row row, const char *column, Value value)
{
    row.set({column, std::move(value)});
    return row;
}

Row fresh(int64_t vlanId)
{
    Row row;
    row.set({"vlanId", vlanId});
    row.set({"fwdMap", std::string("1")});
    return row;
}

// "insert 40, update 10": what each row of it does, and to which VLAN.
std::string text(const ChangeSet &changes)
{
    std::string all;
    for (const RowChange &change : changes.rows)
        all += std::string(all.empty() ? "" : ", ") +
               (change.operation() == SWMGR_DB_INSERT   ? "insert "
                : change.operation() == SWMGR_DB_UPDATE ? "update "
                                                        : "delete ") +
               std::to_string(change.vlanId()) + ":" +
               (change.after ? change.after->text("fwdMap") : "");
    return all;
}

TEST_F(Rows, joinedChangesBecomeOnePerRow)
{
    const Row ten = row(1), twenty = row(2);
    const Row moved = with(ten, "fwdMap", "3"s), again = with(ten, "fwdMap", "4"s);
    Row added = fresh(40);
    added.rowId = 9;
    Row port = ten; // the same row id in another table
    const RowChange update{"vlanEncapIf", ten, moved}, updateAgain{"vlanEncapIf", moved, again},
        back{"vlanEncapIf", moved, ten}, goes{"vlanEncapIf", ten, std::nullopt},
        goesChanged{"vlanEncapIf", moved, std::nullopt}, comes{"vlanEncapIf", std::nullopt, added},
        goesAgain{"vlanEncapIf", added, std::nullopt}, other{"vlanEncapIf", twenty, std::nullopt},
        elsewhere{"swPortConfig", port, std::nullopt};
    struct Case {
        std::vector<RowChange> first, second;
        std::string joined;
    };
    const Case cases[] = {
        {{update}, {updateAgain}, "update 10:4"},
        {{update}, {goesChanged}, "delete 10:"},
        {{update}, {other}, "update 10:3, delete 20:"},
        {{update}, {elsewhere}, "update 10:3, delete 0:"},
        {{update, other}, {updateAgain, comes}, "update 10:4, delete 20:, insert 40:1"},
        {{update, other}, {back}, "delete 20:"},
        {{comes, update}, {goesAgain}, "update 10:3"},
        {{goes}, {comes}, "delete 10:, insert 40:1"},
        {{}, {update, comes, other}, "update 10:3, insert 40:1, delete 20:"},
    };
    for (const Case &one : cases) {
        ChangeSet all{"", "", one.first, {"a port moves"}};
        append(all, {"", "", one.second, {"a port moves", "another does"}});
        EXPECT_EQ(text(all), one.joined);
        EXPECT_EQ(all.consequences, (std::vector<std::string>{"a port moves", "another does"}));
    }
}

TEST_F(Rows, reversedChangesRestoreEveryValueInTheOppositeOrder)
{
    sql("UPDATE vlanEncapIf SET egressMap = x'00ff', ingressMap = 5.5 WHERE rowid = 2");
    const std::vector<Row> before = database.rows("vlanEncapIf");
    ChangeSet changes{"batch", "done", {}, {}};
    changes.rows = {{"vlanEncapIf", row(1), with(row(1), "fwdMap", std::monostate())},
                    {"vlanEncapIf", row(2), std::nullopt},
                    {"vlanEncapIf", std::nullopt, fresh(40)}};
    writeRows(database, changes);
    EXPECT_EQ(vlanRows(database), "10 eth0  1; 30 eth1 1,3 ; 40  1 ");
    EXPECT_EQ(changes.rows[2].after->rowId, 4);
    EXPECT_TRUE(rowsAreAfter(database, changes));
    EXPECT_FALSE(rowsAreBefore(database, changes));
    EXPECT_EQ(changes.vlanIds(), (std::vector<int>{10, 10, 20, 40}));

    EXPECT_EQ(text(reversed(changes, 2)), "insert 20:1,2, update 10:0,1");
    ChangeSet back = reversed(changes);
    EXPECT_EQ(text(back), "delete 40:, insert 20:1,2, update 10:0,1");
    EXPECT_EQ(back.what + " " + back.verb, "batch put back");
    writeRows(database, back);
    const std::vector<Row> after = database.rows("vlanEncapIf");
    ASSERT_EQ(after.size(), before.size());
    for (size_t i = 0; i < before.size(); ++i)
        EXPECT_TRUE(after[i].sameAs(before[i])) << i;
    EXPECT_TRUE(rowsAreBefore(database, changes));
    EXPECT_FALSE(rowsAreAfter(database, changes));
}

TEST_F(Rows, theServiceIsToldOfVlansAndOfNewPortsAndSwitches)
{
    const Row old = row(1);
    const std::optional<Row> none;
    struct Case {
        const char *table;
        std::optional<Row> before, after;
        bool told, announced, announcedBack;
    };
    for (const Case &one : {Case{"vlanEncapIf", none, old, true, true, true},
                            Case{"vlanEncapIf", old, old, true, true, true},
                            Case{"vlanEncapIf", old, none, true, true, true},
                            Case{"vlanEncapIf", old, none, false, false, true},
                            Case{"swPortConfig", none, old, true, true, false},
                            Case{"swPortConfig", none, old, false, false, false},
                            Case{"swPortConfig", old, old, true, false, false},
                            Case{"swGlobalCfg", old, none, true, false, false}}) {
        const RowChange change{one.table, one.before, one.after, one.told};
        EXPECT_EQ(change.isAnnounced(), one.announced) << one.table;
        const ChangeSet back = reversed({"", "", {change}, {}});
        EXPECT_EQ(back.rows[0].isAnnounced(), one.announcedBack) << one.table;
    }
}

TEST_F(Rows, aRowThatSomebodyElseChangedIsNotWritten)
{
    const RowChange update{"vlanEncapIf", row(1), with(row(1), "fwdMap", "3"s)};
    const RowChange removal{"vlanEncapIf", row(1), std::nullopt};
    for (const char *other : {"UPDATE vlanEncapIf SET untagMap = '0' WHERE rowid = 1",
                              "UPDATE vlanEncapIf SET untagMap = NULL WHERE rowid = 1",
                              "DELETE FROM vlanEncapIf WHERE rowid = 1"}) {
        sql(other);
        for (const RowChange &change : {update, removal}) {
            ChangeSet changes{"", "", {change}, {}};
            const std::string before = vlanRows(database);
            EXPECT_THROW(writeRows(database, changes), Failure);
            EXPECT_EQ(vlanRows(database), before);
            EXPECT_FALSE(rowsAreBefore(database, changes));
        }
    }
}

TEST_F(Rows, aRowIdThatNoEventCanNameIsRefused)
{
    sql("INSERT INTO vlanEncapIf (rowid, vlanId) VALUES (2147483647, 50)");
    ChangeSet changes{"", "", {{"vlanEncapIf", std::nullopt, fresh(60)}}, {}};
    EXPECT_THROW(writeRows(database, changes), Failure);
    Row last = fresh(70);
    for (const auto &[rowId, good] : {std::pair{2147483646L, true},
                                      {-2147483648L, true},
                                      {2147483649L, false},
                                      {-2147483649L, false}}) {
        last.rowId = rowId;
        ChangeSet one{"", "", {{"vlanEncapIf", std::nullopt, last}}, {}};
        if (good)
            EXPECT_NO_THROW(writeRows(database, one)) << rowId;
        else
            EXPECT_THROW(writeRows(database, one), Failure) << rowId;
    }
}

TEST_F(Rows, ofAnIdThatIsUsedAgainTheLastChangeCounts)
{
    const Row again = with(row(1), "vlanId", int64_t{50});
    ChangeSet changes{
        "", "", {{"vlanEncapIf", row(1), std::nullopt}, {"vlanEncapIf", std::nullopt, again}}, {}};
    writeRows(database, changes);
    EXPECT_TRUE(rowsAreAfter(database, changes));
    EXPECT_FALSE(rowsAreBefore(database, changes));
    database.remove("vlanEncapIf", 1);
    EXPECT_FALSE(rowsAreAfter(database, changes));
}

TEST_F(Rows, asANewOneLosesOnlyTheColumnOfItsId)
{
    const Row one = asNewRow(row(2));
    EXPECT_EQ(one.rowId, 0);
    EXPECT_EQ(one.cells.size() + 1, row(2).cells.size());
    EXPECT_EQ(one.find("id"), nullptr);
    Row other = row(2);
    other.set({"id", int64_t{7}}); // a column of that name that is none
    EXPECT_EQ(asNewRow(other).text("id"), "7");
}

TEST_F(Rows, announcementsCarryTableIdOperationAndOldValues)
{
    const Row old = row(3);
    const RowChange changes[] = {{"vlanEncapIf", std::nullopt, old},
                                 {"vlanEncapIf", old, with(old, "fwdMap", "4"s)},
                                 {"vlanEncapIf", old, std::nullopt}};
    const int operations[] = {SWMGR_DB_INSERT, SWMGR_DB_UPDATE, SWMGR_DB_DELETE};
    const std::string block =
        "id\0vlanId\0interfaceName\0LogicalIfName\0fwdMap\0untagMap\0inSwitchOnly\0ingressMap\0"
        "egressMap\0003\00030\0eth1\0\0001,3\0\0000\0\0\0"s;
    for (size_t i = 0; i < std::size(changes); ++i)
        for (const Announcement &told :
             {announcementOf(changes[i]), announcementOf(old, operations[i])}) {
            SwMgrDbEvent event{};
            ASSERT_EQ(told.event.size(), sizeof(event));
            memcpy(&event, told.event.data(), sizeof(event));
            EXPECT_STREQ(event.tableName, "vlanEncapIf");
            EXPECT_EQ(event.rowId, 3);
            EXPECT_EQ(event.opCode, operations[i]);
            EXPECT_EQ(told.oldValues, i == 0 ? "" : block);
        }
}

TEST_F(Rows, comeBackFromAFileAsTheyWere)
{
    sql("UPDATE vlanEncapIf SET egressMap = x'00ff0a', ingressMap = 5.5, LogicalIfName = "
        "CAST(x'41ff1f' AS TEXT), untagMap = 'ä' WHERE rowid = 1");
    const ChangeSet changes{"VLAN 10",
                            "changed",
                            {{"vlanEncapIf", row(1), row(2), false},
                             {"vlanEncapIf", std::nullopt, row(1)},
                             {"swPortConfig", row(3), std::nullopt}},
                            {}};
    const std::string stored = toJson(changes).oneLine();
    for (const char c : stored)
        ASSERT_TRUE(c >= ' ' && c <= '~') << stored;
    const ChangeSet read = changeSetOf(Json::parse(stored)).value();
    EXPECT_EQ(read.what + read.verb, "VLAN 10changed");
    ASSERT_EQ(read.rows.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        const RowChange &was = changes.rows[i], &is = read.rows[i];
        EXPECT_EQ(is.table, was.table);
        EXPECT_EQ(is.told, was.told);
        ASSERT_EQ(is.before.has_value(), was.before.has_value());
        ASSERT_EQ(is.after.has_value(), was.after.has_value());
        EXPECT_TRUE(!is.before || is.before->sameAs(*was.before)) << i;
        EXPECT_TRUE(!is.after || is.after->sameAs(*was.after)) << i;
    }
    EXPECT_EQ(read.rows[1].after->text("egressMap"), row(1).text("egressMap"));
    for (const char *damaged :
         {"", "{}", "[]", R"({"what":"","verb":""})", R"({"what":"","verb":1,"rows":[]})",
          R"({"what":"","verb":"","rows":[{"table":"","before":null}]})",
          R"({"what":"","verb":"","rows":[{"table":"","before":{},"after":null}]})"})
        EXPECT_FALSE(changeSetOf(Json::parseOrNull(damaged))) << damaged;
    EXPECT_TRUE(
        changeSetOf(
            Json::parse(
                R"({"what":"","verb":"","rows":[{"table":"","before":null,"after":null}]})"))
            ->rows[0]
            .told);
}

TEST_F(Rows, differInValueTypeColumnAndId)
{
    const Row one = row(1);
    EXPECT_TRUE(one.sameAs(row(1)));
    EXPECT_FALSE(one.sameAs(row(2)));
    EXPECT_FALSE(one.sameAs(with(one, "vlanId", "10"s)));
    EXPECT_FALSE(one.sameAs(with(one, "further", "x"s)));
    Row renamed = one, moved = one;
    renamed.cells[1].column = "VlanId";
    moved.rowId = 5;
    EXPECT_FALSE(one.sameAs(renamed));
    EXPECT_FALSE(one.sameAs(moved));
    EXPECT_EQ(with(one, "vlanId", int64_t{7}).text("vlanId"), "7");
    EXPECT_EQ(with(one, "further", "x"s).text("further"), "x");
    EXPECT_EQ(one.find("egressMap"), nullptr) << "NULL";
}

TEST_F(Rows, areFoundAndWrittenByTheirColumns)
{
    sql("ALTER TABLE vlanEncapIf ADD COLUMN \"odd \"\" name\" TEXT");
    EXPECT_EQ(database.rowsWhere("vlanEncapIf", {{"interfaceName", "eth0"s}}).size(), 2u);
    EXPECT_EQ(
        database.rowsWhere("vlanEncapIf", {{"interfaceName", "eth0"s}, {"vlanId", int64_t{20}}})
            .size(),
        1u);
    EXPECT_EQ(database.insert("vlanEncapIf", {{"vlanId", int64_t{40}}, {"odd \" name", "x"s}}), 4);
    EXPECT_EQ(row(4).text("odd \" name"), "x");
    database.update("vlanEncapIf", 4, {{"fwdMap", "1"s}, {"untagMap", Blob{"\0z"s}}});
    EXPECT_EQ(row(4).text("fwdMap"), "1");
    database.updateRow("vlanEncapIf", with(row(4), "vlanId", int64_t{41}));
    EXPECT_EQ(vlanRows(database), "10 eth0 0,1 1; 20 eth0 1,2 2; 30 eth1 1,3 ; 41  1 ");
    EXPECT_EQ(row(4).cells[5].value, Value(Blob{"\0z"s}));
    database.remove("vlanEncapIf", 4);
    EXPECT_FALSE(database.rowById("vlanEncapIf", 4));
    EXPECT_THROW(database.rowsWhere("vlanEncapIf", {{"nothing", "x"s}}), Failure);
    EXPECT_THROW(database.insert("vlanEncapIf", {{"fwdMap", "x"s}}), Failure) << "NOT NULL";
}

TEST_F(Rows, ofATransactionThatIsNotCommittedAreTakenBack)
{
    {
        const Transaction transaction(database, Access::write);
        database.remove("vlanEncapIf", 1);
        Snapshot unseen(database);
        EXPECT_EQ(vlanIdsIn(unseen.database()), (std::set<int>{20, 30})) << "not committed yet";
        Database other(databaseFile(), Access::read);
        EXPECT_EQ(vlanIdsIn(other), (std::set<int>{10, 20, 30}));
    }
    EXPECT_EQ(vlanIdsIn(database), (std::set<int>{10, 20, 30}));
    Snapshot snapshot(database);
    {
        Transaction transaction(database, Access::write);
        database.remove("vlanEncapIf", 1);
        transaction.commit();
    }
    EXPECT_EQ(vlanIdsIn(database), (std::set<int>{20, 30}));
    EXPECT_EQ(vlanIdsIn(snapshot.database()), (std::set<int>{10, 20, 30}));
    Database copy = Database::inMemory();
    copy.deserialise(snapshot.image());
    EXPECT_EQ(vlanIdsIn(copy), (std::set<int>{10, 20, 30}));
    copy.run("CREATE TABLE grown AS SELECT zeroblob(1 << 20)"); // it is no image of fixed size
}

TEST_F(Rows, ofAFileThatCannotBeUsedAreRefusedWithTheReason)
{
    ASSERT_EQ(symlink(databaseFile().c_str(), file("link.db").c_str()), 0);
    write("text.db", std::string(4096, 'x'));
    for (const auto &[name, reason] : {std::pair{"link.db", "symbolic link"},
                                       {"relay", "it is a directory"},
                                       {"none.db", "No such file"}}) {
        try {
            const Database opened(file(name), Access::read);
            ADD_FAILURE() << name;
        } catch (const Failure &failure) {
            EXPECT_HAS(failure.what(), reason);
            EXPECT_EQ(failure.status, exitUsage);
        }
    }
    EXPECT_THROW(Database(file("text.db"), Access::read).rows("vlanEncapIf"), Failure);
    Database read(databaseFile(), Access::read);
    EXPECT_THROW(read.remove("vlanEncapIf", 1), Failure);
    EXPECT_THROW(read.run("SELECT \"nothing\" FROM vlanEncapIf"), Failure) << "no text";
}

TEST_F(Rows, waitForAnotherWriterToFinish)
{
    int began[2];
    ASSERT_EQ(pipe(began), 0);
    const pid_t other = fork();
    if (other == 0) {
        Database writes(databaseFile(), Access::write);
        const Transaction transaction(writes, Access::write);
        const bool told = ::write(began[1], "", 1) == 1;
        usleep(200000);
        _exit(told ? 0 : 1);
    }
    char byte = 0;
    ASSERT_EQ(::read(began[0], &byte, 1), 1);
    EXPECT_NO_THROW(Transaction(database, Access::write));
    int status = -1;
    EXPECT_EQ(waitpid(other, &status, 0), other);
    EXPECT_EQ(status, 0);
    close(began[0]);
    close(began[1]);
}

TEST_F(Rows, ofAForeignSchemaReachNothingBeyondTheTables)
{
    sql("CREATE VIRTUAL TABLE module USING fts5(word);"
        "CREATE VIEW reaching AS SELECT word FROM module");
    try {
        database.run("SELECT * FROM reaching");
        ADD_FAILURE() << "a module is reached";
    } catch (const Failure &failure) {
        EXPECT_HAS(failure.what(), "unsafe use of virtual table");
    }
}

TEST_F(Rows, areReadAsTheServiceReadsThem)
{
    sql("UPDATE vlanEncapIf SET fwdMap = '1, 2,07,x,31,32,-1', untagMap = NULL, inSwitchOnly = 2 "
        "WHERE rowid = 1; UPDATE swPortConfig SET phyDevice = 'BCM:1,BCM:2' WHERE rowid = 6; "
        "DROP TABLE swGlobalCfg");
    const Configuration all = readConfiguration(database);
    EXPECT_TRUE(all.switchTable.columns.empty());
    EXPECT_EQ(all.vlanTable.columns.size(), 9u);
    EXPECT_EQ(all.vlanTable.rows.size(), 3u);
    const VlanRow &vlan = all.vlans.at(0);
    EXPECT_EQ(vlan.id, 10);
    EXPECT_EQ(vlan.interfaceName, "eth0");
    EXPECT_TRUE(vlan.inSwitchOnly);
    EXPECT_FALSE(all.vlans.at(1).inSwitchOnly);
    EXPECT_EQ(vlan.untagged.mask, 0u);
    EXPECT_EQ(vlan.members.mask, 0x80000087u) << "a text reads as 0";
    std::string plain;
    for (const ListEntry &entry : vlan.members.entries)
        plain += entry.plain ? "y" : "n";
    EXPECT_EQ(plain, "yynnyyn");
    EXPECT_EQ(all.ports.at(5).mapping, (std::vector<std::string>{"BCM:1", "BCM:2"}));
    EXPECT_EQ(all.ports.at(5).number, 1);
    EXPECT_EQ(portListText(0), "none");
    EXPECT_EQ(portListText(0x80000003), "0,1,31");
    EXPECT_EQ(entryAsRead("BCM:03x"), "BCM:3");
    EXPECT_EQ(entryAsRead("BCM"), "BC:0");
    EXPECT_EQ(nameOf("vlanEncapIf", row(2)), "VLAN 20");
    const Row port = database.rowById("swPortConfig", 2).value();
    EXPECT_EQ(nameOf("swPortConfig", port), "port 1 of BCM");
    EXPECT_EQ(nameOf("swGlobalCfg", port), "switch BCM");
}

TEST_F(Rows, areSaidToHoldWhatTheServiceTakes)
{
    const auto refusedAtAStart = [this](const Table &table, const Column &column, size_t length) {
        Transaction transaction(database, Access::write);
        const std::vector<Row> all = database.rows(table.name);
        database.update(table.name, all.back().rowId, {{column.name, std::string(length, '7')}});
        Snapshot snapshot(database);
        const std::optional<StoppedAt> stopped =
            view().rehearseStart(snapshot)->finish().stoppedAt();
        const std::string why =
            std::string(table.name) + "." + column.name + " is too long: " + std::to_string(length);
        return stopped && stopped->table == table.name &&
               std::any_of(stopped->reasons.begin(), stopped->reasons.end(),
                           [&](const std::string &line) { return line.find(why) != line.npos; });
    };
    startChip();
    size_t texts = 0;
    for (const Table &table : configurationTables())
        for (const Column &column : columnsOf(table.name)) {
            const auto most = static_cast<size_t>(column.most);
            if (column.isNumber())
                continue;
            ++texts;
            EXPECT_FALSE(refusedAtAStart(table, column, most)) << column.name;
            EXPECT_TRUE(refusedAtAStart(table, column, most + 1)) << column.name;
        }
    EXPECT_EQ(texts, 11u);
}

// An older database may lack a column; without some of them no row means anything.
TEST_F(Rows, withoutAColumnAreOnlyWrongWhereNoneMeansAnything)
{
    const auto errors = [](const std::string &switches, const std::string &ports,
                           const std::string &vlans) {
        Database older = Database::inMemory();
        older.run(("CREATE TABLE swGlobalCfg (" + switches + "); CREATE TABLE swPortConfig (" +
                   ports + "); CREATE TABLE vlanEncapIf (" + vlans + ")")
                      .c_str());
        std::string text;
        for (const Finding &finding : checkConfiguration(older, {}))
            if (finding.severity == Severity::error)
                text += finding.table + " " + finding.subject + ";";
        return text;
    };
    const char *ports = "switchName, portNumber", *vlans = "vlanId, interfaceName, fwdMap";
    EXPECT_EQ(errors("switchName", ports, vlans), "");
    EXPECT_EQ(errors("switchLevel", ports, vlans), "swGlobalCfg switchName;");
    EXPECT_EQ(errors("switchName", "switchName", vlans), "swPortConfig portNumber;");
    EXPECT_EQ(errors("switchName", "portNumber", vlans), "swPortConfig switchName;");
    EXPECT_EQ(errors("switchName", ports, "vlanId, fwdMap"), "vlanEncapIf interfaceName;");
    EXPECT_EQ(errors("switchName", ports, "untagMap"),
              "vlanEncapIf vlanId;vlanEncapIf interfaceName;vlanEncapIf fwdMap;");
}

TEST_F(Rows, areKnownAgainAsTheyWereStored)
{
    // A column of numbers makes a number of the text.
    ChangeSet changes{"", "", {}, {}};
    changes.rows = {{"vlanEncapIf", row(1), with(row(1), "vlanId", "11"s)},
                    {"vlanEncapIf", std::nullopt, with(fresh(0), "vlanId", "40"s)}};
    writeRows(database, changes);
    EXPECT_TRUE(rowsAreAfter(database, changes));
    for (const auto &[at, vlanId] : {std::pair{size_t{0}, 11}, {size_t{1}, 40}}) {
        const Row &stored = changes.rows[at].after.value();
        EXPECT_TRUE(stored.sameAs(with(stored, "vlanId", int64_t{vlanId})));
    }
    ChangeSet back = reversed(changes);
    EXPECT_NO_THROW(writeRows(database, back));
    EXPECT_EQ(vlanRows(database), "10 eth0 0,1 1; 20 eth0 1,2 2; 30 eth1 1,3 ");
}

TEST(Columns, sayWhichNumbersTheyAccept)
{
    struct Case {
        int64_t least, most, gap;
        const char *values;
    };
    constexpr int64_t none = Column::noGap, maxInt = std::numeric_limits<int32_t>::max();
    for (const auto &[least, most, gap, values] : {Case{0, 4094, none, "0 to 4094"},
                                                   {1, maxInt, none, "1 and more"},
                                                   {0, 2, none, "0 to 2"},
                                                   {0, 1, none, "0 and 1"},
                                                   {0, 3, 2, "0, 1 and 3"},
                                                   {1, 4, 3, "1, 2 and 4"}}) {
        Column column = columnsOf(portTableName).back();
        column.least = least;
        column.most = most;
        column.gap = gap;
        EXPECT_EQ(column.values(), values);
        for (int64_t value = least - 1; value < least + 6; ++value)
            EXPECT_EQ(column.accepts(value), value >= least && value <= most && value != gap)
                << value << " of " << values;
    }
}

TEST(Columns, haveOptionsThatScriptsRelyOnAndInitialValuesThatTheyAccept)
{
    std::string options;
    for (const Table &table : configurationTables())
        for (const Column &column : columnsOf(table.name)) {
            options += column.isIdentity() ? "" : " "s + column.option;
            EXPECT_TRUE(!column.isNumber() || *column.standard == '\0' ||
                        column.accepts(toInt(column.standard)))
                << column.name;
        }
    EXPECT_EQ(options, " --level --device --ports --vlan --qos --pause-frames --igmp-snooping "
                       "--mld-snooping --interface --map --type --pvid --mirroring --trust-mode "
                       "--rate-limit --sched-mode --queues --weight1 --weight2 --weight3 --weight4 "
                       "--interface --logical --ports --untagged --switch-only --ingress-map "
                       "--egress-map");
}

TEST(RowText, saysWhatChangedInTheWordsOfTheOptions)
{
    Row row;
    row.rowId = 4;
    for (const auto &[column, value] : {std::pair<const char *, const char *>{"vlanId", "30"},
                                        {"interfaceName", "eth0"},
                                        {"fwdMap", "1,2"},
                                        {"untagMap", ""},
                                        {"inSwitchOnly", "0"}})
        row.cells.push_back({column, std::string(value), value});
    Row other = row;
    other.set({"untagMap", std::string("1")});
    other.set({"owner", std::string("me")});
    const auto text = [](std::optional<Row> before, std::optional<Row> after) {
        return changeText({vlanTableName, std::move(before), std::move(after)});
    };
    EXPECT_EQ(text({}, row), "VLAN 30 added: interface eth0, ports 1,2");
    EXPECT_EQ(text(row, other), "VLAN 30: untagged none -> 1, owner none -> me");
    EXPECT_EQ(text(other, {}), "VLAN 30 deleted");
    ChangeSet many;
    for (int i = 0; i < 6; ++i)
        many.rows.push_back({vlanTableName, row, std::nullopt});
    EXPECT_EQ(changesText(many), "VLAN 30 deleted; VLAN 30 deleted; VLAN 30 deleted; VLAN 30 "
                                 "deleted; and 2 more rows");
    const std::vector<std::string> lines = changeLines({vlanTableName, row, other});
    EXPECT_EQ(lines, (std::vector<std::string>{"- untagMap none", "+ untagMap 1", "- owner none",
                                               "+ owner me"}));
    EXPECT_EQ(changeLines({vlanTableName, {}, row}).front(), "+ vlanId 30");
}

} // namespace
} // namespace swctl::test
