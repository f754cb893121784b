// Changes from what is asked for to their verdict, on a gateway that the tests play.
#include "gateway.h"

#include "client/base/failure.h"
#include "client/change/carry_out.h"
#include "client/change/pending.h"
#include "client/change/preview.h"
#include "client/change/recover.h"
#include "client/change/refusal.h"
#include "client/change/repair.h"
#include "client/records/journal.h"
#include "client/rows/row_json.h"
#include "common/served_file.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::string_literals;

namespace swctl::test {
namespace {

constexpr const char *soundVlans = "10 eth0 0,1 1; 20 eth0 1,2 2; 30 eth1 1,3 ";

using Kind = RowWish::Kind;

RowWish vlan(Kind kind, int64_t id, std::vector<Assignment> values = {})
{
    return {kind, "vlanEncapIf", "VLAN " + std::to_string(id), {{"vlanId", id}}, std::move(values)};
}

RowWish port(Kind kind, const char *owner, int64_t number, std::vector<Assignment> values)
{
    return {kind,
            "swPortConfig",
            "port",
            {{"switchName", std::string(owner)}, {"portNumber", number}},
            std::move(values)};
}

// Ports 3 and 4, the latter untagged.
const RowWish addForty =
    vlan(Kind::add, 40, {{"interfaceName", "eth1"s}, {"fwdMap", "3,4"s}, {"untagMap", "4"s}});
constexpr const char *withForty = "10 eth0 0,1 1; 20 eth0 1,2 2; 30 eth1 1,3 ; 40 eth1 3,4 4";

// Every difference, a line each.
std::string text(const std::vector<Difference> &all)
{
    std::string lines;
    for (const Difference &difference : all)
        lines += (lines.empty() ? "" : "; ") + difference.text() + " (" + difference.mend() + ")";
    return lines;
}

std::string text(const std::vector<std::string> &all)
{
    std::string lines;
    for (const std::string &line : all)
        lines += (lines.empty() ? "" : "; ") + line;
    return lines;
}

// A trial that is over, as its file says it.
std::string storedTrial(const ChangeSet &changes)
{
    return Json{{"deadline", 1}, {"change", toJson(changes)}}.oneLine();
}

struct Change : Played {
    Change()
    {
        startChip();
        restart();
    }

    Verdict carry(const Wish &wish, const ChangeOptions &options = {})
    {
        GatewayView gateway = view();
        History history(databaseFile());
        return carryOut(gateway, history, wish, options);
    }

    std::string refusal(const Wish &wish, const ChangeOptions &options = {})
    {
        try {
            return std::string("not refused: ") + outcomeText(carry(wish, options).outcome);
        } catch (const Failure &failure) {
            return std::to_string(failure.status) + " " + failure.what();
        }
    }

    Recovery recover()
    {
        GatewayView gateway = view();
        History history(databaseFile());
        return recoverUnfinished(gateway, history);
    }

    Verdict look(bool mend, bool allVlans = false)
    {
        GatewayView gateway = view();
        History history(databaseFile());
        return mend ? repair(gateway, history, allVlans, {})
                    : compare(gateway, history, allVlans, {});
    }

    // What differs from a fresh start; empty: nothing.
    std::string differing() { return text(look(/*mend=*/false).left); }
};

constexpr const char *missing =
    "VLAN 40 in the chip: -, should be 0T 3T 4U (swctl repair); port "
    "4 default tag: 1, should be 40 (swctl repair); eth1.40: missing, should be up (swctl "
    "repair)";

struct Case {
    const char *name;
    RowWish wish;
    std::vector<Reply> replies; // and from then on the last of them
    Outcome outcome;
    std::string heard;
    std::string rows;
    std::string left;
    bool rowsBack;
    bool open;
};

TEST_F(Change, endsAsTheServiceActsAndAnswers)
{
    const RowWish move = vlan(Kind::set, 20, {{"untagMap", "1,2"s}});
    const RowWish gone = vlan(Kind::remove, 20);
    const std::string moved = "10 eth0 0,1 ; 20 eth0 1,2 1,2; 30 eth1 1,3 ";
    const std::string less = "10 eth0 0,1 1; 30 eth1 1,3 ";
    using enum Reply;
    const Case cases[] = {
        {"added", addForty, {accept}, Outcome::applied, "insert 4", withForty, "", false, false},
        {"refused",
         addForty,
         {refuse},
         Outcome::refused,
         "insert 4, delete 4 of 40",
         soundVlans,
         "",
         true,
         false},
        {"added at the second time",
         addForty,
         {ignore, accept},
         Outcome::applied,
         "insert 4, delete 4 of 40, insert 4",
         withForty,
         "",
         false,
         false},
        {"added at the third time",
         addForty,
         {ignore, ignore, ignore, accept},
         Outcome::applied,
         "insert 4, delete 4 of 40, insert 4, delete 4 of 40, insert 4",
         withForty,
         "",
         false,
         false},
        {"never added",
         addForty,
         {ignore},
         Outcome::differs,
         "insert 4, delete 4 of 40, insert 4, delete 4 of 40, insert 4",
         withForty,
         missing,
         false,
         false},
        {"not even when asked again",
         addForty,
         {ignore, refuse},
         Outcome::differs,
         "insert 4, delete 4 of 40, insert 4",
         withForty,
         missing,
         false,
         false},
        {"refused halfway",
         addForty,
         {spoil, accept},
         Outcome::refused,
         "insert 4, delete 4 of 40",
         soundVlans,
         "",
         true,
         false},
        {"refused halfway and cleared as a leftover",
         addForty,
         {spoil, refuse, accept},
         Outcome::refused,
         "insert 4, delete 4 of 40, request 38 of 40",
         soundVlans,
         "",
         true,
         false},
        {"refused halfway and stuck",
         addForty,
         {spoil, ignore},
         Outcome::differs,
         "insert 4, delete 4 of 40, request 38 of 40, request 36 of 40, request 38 of 40",
         soundVlans,
         "VLAN 40 in the chip: 0T 3T 4U, should be - (swctl repair); eth1.40: up, should be none "
         "(swctl repair)",
         true,
         false},
        {"moved",
         move,
         {accept},
         Outcome::applied,
         "update 2 of 20, update 1 of 10",
         moved,
         "",
         false,
         false},
        {"half moved",
         move,
         {accept, refuse, accept},
         Outcome::refused,
         "update 2 of 20, update 1 of 10, update 1 of 10, update 2 of 20",
         soundVlans,
         "",
         true,
         false},
        {"not moved",
         move,
         {ignore, ignore, accept},
         Outcome::applied,
         "update 2 of 20, update 1 of 10, update 1 of 10, update 2 of 20",
         moved,
         "",
         false,
         false},
        {"moved by force",
         move,
         {ignore, ignore, refuse, accept},
         Outcome::applied,
         "update 2 of 20, update 1 of 10, update 1 of 10, delete 1 of 10, insert 1, update 2 of 20",
         moved,
         "",
         false,
         false},
        {"deleted", gone, {accept}, Outcome::applied, "delete 2 of 20", less, "", false, false},
        {"deletion refused",
         gone,
         {refuse},
         Outcome::refused,
         "delete 2 of 20, insert 2",
         soundVlans,
         "",
         true,
         false},
        {"not deleted",
         gone,
         {ignore, accept},
         Outcome::applied,
         "delete 2 of 20, request 38 of 20",
         less,
         "",
         false,
         false},
        {"answered too late",
         addForty,
         {stayAway},
         Outcome::unanswered,
         "insert 4",
         withForty,
         "",
         false,
         true},
        {"deleted, answered too late",
         gone,
         {stayAway},
         Outcome::unanswered,
         "delete 2 of 20",
         soundVlans,
         "",
         true,
         true},
    };
    for (const Case &one : cases) {
        SCOPED_TRACE(one.name);
        journalSeen = true;
        serve({one.replies.begin(), one.replies.end() - 1}, one.replies.back());
        const Verdict verdict = carry(one.wish);
        endService();
        EXPECT_STREQ(outcomeText(verdict.outcome), outcomeText(one.outcome)) << verdict.note;
        EXPECT_EQ(heard(), one.heard);
        EXPECT_EQ(rows(), one.rows);
        EXPECT_EQ(text(verdict.left), one.left);
        EXPECT_EQ(verdict.rowsBack, one.rowsBack);
        EXPECT_EQ(verdict.open, one.open);
        EXPECT_TRUE(journalSeen) << "what is about to be done is on disk before it is";
        EXPECT_EQ(isThere(".change"), one.open);
        EXPECT_EQ(verdict.verified, one.outcome != Outcome::unanswered);
        EXPECT_EQ(verdict.asked, one.outcome != Outcome::unanswered);
        const HistoryEntry entry = History(databaseFile()).entries().back();
        EXPECT_EQ(entry.outcome, outcomeText(one.outcome));
        EXPECT_EQ(entry.verified, verdict.verified);
        EXPECT_EQ(entry.time, verdict.committed);
        EXPECT_EQ(entry.changes.what, one.wish.name);
        // As it was, for the next one.
        static_cast<void>(unlink((databaseFile() + ".change").c_str()));
        sql("DELETE FROM vlanEncapIf; DELETE FROM sqlite_sequence WHERE name = 'vlanEncapIf'; "
            "INSERT INTO vlanEncapIf (vlanId, interfaceName, fwdMap, untagMap) VALUES (10, 'eth0', "
            "'0,1', '1'), (20, 'eth0', '1,2', '2'), (30, 'eth1', '1,3', NULL)");
        setEntry(40, 0, 0);
        restart();
        heard();
    }
}

TEST_F(Change, withoutAServiceLeavesNothingBehind)
{
    const Verdict verdict = carry(addForty);
    EXPECT_EQ(verdict.outcome, Outcome::unanswered);
    EXPECT_HAS(verdict.note, "is it running?");
    EXPECT_HAS(verdict.note, "the rows were restored");
    EXPECT_EQ(rows(), soundVlans);
    EXPECT_TRUE(verdict.rowsBack);
    EXPECT_FALSE(verdict.open || verdict.asked || verdict.verified);
    EXPECT_FALSE(isThere(".change"));
    EXPECT_EQ(History(databaseFile()).entries().at(0).outcome, "unanswered");
}

TEST_F(Change, thatIsOnlyWrittenTellsNobody)
{
    serve();
    ChangeOptions options;
    options.offline = true;
    const Verdict verdict = carry(addForty, options);
    EXPECT_EQ(heard(), "");
    EXPECT_EQ(rows(), withForty);
    EXPECT_FALSE(verdict.verified);
    EXPECT_FALSE(isThere(".change"));
    EXPECT_EQ(History(databaseFile()).entries().at(0).outcome, "written");
    EXPECT_EQ(differing(), missing);
}

TEST_F(Change, thatIsNotVerifiedIsNotSaidToBe)
{
    serve({}, Reply::ignore);
    ChangeOptions options;
    options.verify = false;
    size_t told = 0;
    options.told = [&](size_t done, size_t all) {
        ++told;
        EXPECT_EQ(done, told);
        EXPECT_EQ(all, 1u);
    };
    const Verdict verdict = carry(addForty, options);
    EXPECT_EQ(verdict.outcome, Outcome::applied);
    EXPECT_FALSE(verdict.verified);
    EXPECT_FALSE(History(databaseFile()).entries().at(0).verified);
    EXPECT_EQ(told, 1u);
    options.told = {};
    EXPECT_EQ(heard(), "insert 4");
    serve({}, Reply::refuse);
    const Verdict refused = carry(vlan(Kind::remove, 40), options);
    EXPECT_EQ(refused.outcome, Outcome::refused);
    EXPECT_FALSE(refused.verified);
    EXPECT_EQ(rows(), withForty);
}

TEST_F(Change, ofNothingLooksAllTheSame)
{
    serve();
    const UndoWish nothing{1, {}};
    EXPECT_EQ(carry(nothing).outcome, Outcome::applied);
    setTag(0, 30);
    setEntry(20, 6, 6);
    const Verdict verdict = carry(nothing);
    EXPECT_EQ(verdict.outcome, Outcome::differs);
    EXPECT_EQ(text(verdict.left), "VLAN 20 in the chip: 1U 2U, should be 1T 2U 4T (swctl repair)");
    EXPECT_TRUE(verdict.verified);
    EXPECT_EQ(heard(), "") << "nothing is sent";
    EXPECT_FALSE(isThere(".history"));
    ChangeOptions options;
    options.verify = false;
    EXPECT_FALSE(carry(nothing, options).verified);
    ChangeOptions offline;
    offline.offline = true;
    EXPECT_FALSE(carry(nothing, offline).verified);
}

TEST_F(Change, thatFindsTheRowsChangedByAnotherWriterLeavesThem)
{
    serve({}, Reply::writeAfter);
    const Verdict verdict = carry(vlan(Kind::set, 10, {{"fwdMap", "0,1,2"s}}));
    EXPECT_EQ(verdict.outcome, Outcome::differs);
    EXPECT_FALSE(verdict.rowsBack);
    EXPECT_HAS(verdict.note, "another writer has changed row 1");
    EXPECT_HAS(verdict.note, "the rows are unchanged");
    EXPECT_HAS(rows(), "10 eth0 4 1");
    EXPECT_EQ(heard(), "update 1 of 10");
}

TEST_F(Change, doesNotBlameItselfForWhatDifferedBefore)
{
    setEntry(30, 1, 1);
    setTag(2, 30);
    serve({Reply::refuse}, Reply::ignore);
    const Verdict refused = carry(addForty);
    EXPECT_STREQ(outcomeText(refused.outcome), "refused") << text(refused.left);
    EXPECT_EQ(heard(), "insert 4, delete 4 of 40");
    serve();
    const Verdict applied = carry(addForty);
    EXPECT_STREQ(outcomeText(applied.outcome), "applied") << text(applied.left);
    EXPECT_EQ(heard(), "insert 5, update 3 of 30");
    EXPECT_EQ(text(applied.settled), "VLAN 30 announced again");
}

TEST_F(Change, isNotBegunWhereTheRowsWouldBeWrong)
{
    serve();
    ChangeOptions trial;
    trial.onTrial = 600;
    const RowWish wrong = vlan(Kind::add, 40, {{"interfaceName", "eth7"s}});
    const std::string why = refusal(wrong, trial);
    EXPECT_HAS(why, "1 refused: VLAN 40: the configuration would be wrong");
    EXPECT_HAS(why, "eth7");
    EXPECT_EQ(rows(), soundVlans);
    EXPECT_FALSE(isThere(".change") || isThere(".trial") || isThere(".history"));
    EXPECT_EQ(heard(), "");
    ChangeOptions force;
    force.force = true;
    carry(wrong, force);
    EXPECT_HAS(rows(), "40 eth7");
    // What is wrong already is no reason.
    EXPECT_EQ(refusal(vlan(Kind::set, 30, {{"fwdMap", "1"s}})), "not refused: applied");
}

TEST_F(Change, isNotBegunWhereAStartWouldStopAndDidNotBefore)
{
    const ChangeSet changes{"VLAN 40", "added", {}, {}};
    Target sound, stops;
    stops.stopped = StoppedAt{"vlanEncapIf", 3, -1, {}};
    const auto refused = [&](const Target &after) {
        GatewayView gateway = view();
        Snapshot before(gateway.database());
        try {
            refuseStop(gateway, before, after, changes);
            return std::string();
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.status, exitRefused);
            return std::string(failure.what());
        }
    };
    EXPECT_EQ(refused(sound), "");
    EXPECT_HAS(refused(stops), "refused: VLAN 40: a start of the service would stop at row");
    // A text that is longer than its field stops a start at the fourth row.
    sql("INSERT INTO vlanEncapIf (vlanId, interfaceName) VALUES (50, '" + std::string(70, 'x') +
        "')");
    EXPECT_EQ(refused(stops), "") << "it does already";
    stops.stopped->row = 2;
    EXPECT_NE(refused(stops), "");
    stops.stopped = StoppedAt{"swPortConfig", 3, -1, {}};
    EXPECT_NE(refused(stops), "");
}

TEST_F(Change, thatWouldStopAStartIsRefusedUnlessItIsForced)
{
    serve();
    // No rule knows which devices there are.
    const RowWish wish = {Kind::set,
                          "swGlobalCfg",
                          "switch BCM",
                          {{"switchName", "BCM"s}},
                          {{"switchDevice", "/dev/none"s}}};
    const std::string why = "1 refused: switch BCM: a start of the service would stop at row 1";
    EXPECT_EQ(refusal(wish).substr(0, why.size()), why);
    EXPECT_FALSE(isThere(".change") || isThere(".history"));
    GatewayView gateway = view();
    EXPECT_THROW(preview(gateway, wish, {}), Failure);
    EXPECT_EQ(gateway.database().rows("swGlobalCfg").at(0).text("switchDevice"), "/dev/bcmsw");
    PreviewOptions seen;
    seen.force = true;
    EXPECT_NO_THROW(preview(gateway, wish, seen));
    ChangeOptions force;
    force.force = true;
    EXPECT_EQ(refusal(wish, force), "not refused: differs");
    EXPECT_EQ(gateway.database().rows("swGlobalCfg").at(0).text("switchDevice"), "/dev/none");
}

TEST_F(Change, isRefusedForAFileThatTheServiceDoesNotServe)
{
    serve();
    const std::string told = file("relay/"s + servedFileName);
    struct stat about = {};
    ASSERT_EQ(stat(databaseFile().c_str(), &about), 0);
    const auto tell = [&](unsigned long inode) {
        std::ofstream(told) << about.st_dev << " " << inode << " /srv/other.db\n";
    };
    tell(about.st_ino + 1);
    const int held = open(told.c_str(), O_RDWR);
    ASSERT_EQ(flock(held, LOCK_EX), 0);
    const std::string why = refusal(addForty);
    EXPECT_HAS(why, "1 refused: the service serves another file");
    EXPECT_HAS(why, "/srv/other.db");
    EXPECT_EQ(rows(), soundVlans);
    EXPECT_THROW(look(/*mend=*/true), Failure);
    EXPECT_NO_THROW(look(/*mend=*/false));
    ChangeOptions offline;
    offline.offline = true;
    EXPECT_EQ(refusal(addForty, offline), "not refused: applied");
    tell(about.st_ino);
    EXPECT_EQ(refusal(vlan(Kind::remove, 40)), "not refused: applied");
    close(held);
}

TEST_F(Change, saysWhyTheServiceRefusesIt)
{
    startLog();
    serve({Reply::refuse});
    const Verdict verdict = carry(addForty);
    EXPECT_EQ(text(verdict.reasons), "(switch=PSE) no room for insert 4");
    EXPECT_EQ(verdict.note, "");
    EXPECT_EQ(verdict.answer, -22);
    serve({}, Reply::ignore);
    said.emplace_back("(switch=PSE) no room in the table");
    said.emplace_back("cmd (vlan_table_func 1 20) returned (1).");
    EXPECT_EQ(carry(addForty).outcome, Outcome::differs);
    serve({}, Reply::complain);
    const Verdict differs = carry(vlan(Kind::remove, 30));
    EXPECT_EQ(differs.outcome, Outcome::differs);
    EXPECT_HAS(text(differs.reasons), "(switch=PSE) no room for delete 3 of 30");
}

TEST_F(Change, ofSettingsThatAreTakenAtAStartSaysSo)
{
    serve();
    const Verdict waits = carry(port(Kind::set, "PSE", 3, {{"trustMode", int64_t{2}}}));
    EXPECT_EQ(waits.outcome, Outcome::differs);
    EXPECT_EQ(text(waits.left), "port 3 of PSE: as before until the service starts again "
                                "(restart the service)");
    EXPECT_EQ(waits.left.at(0).wanted, "as its row says");
    EXPECT_FALSE(waits.asked);
    // Another change while that waits.
    setEntry(20, 0, 0);
    EXPECT_EQ(text(look(/*mend=*/false).left),
              "VLAN 20 in the chip: -, should be 1T 2U 4T (swctl repair); port 3 of PSE: as "
              "before until the service starts again (restart the service)");
    EXPECT_EQ(text(look(/*mend=*/true).left),
              "port 3 of PSE: as before until the service starts again (restart the service)");
    EXPECT_EQ(heard(), "update 2 of 20");
    // What a start does not take either makes no difference.
    const Verdict same = carry(port(Kind::set, "PSE", 3, {{"trustMode", int64_t{0}}}));
    EXPECT_STREQ(outcomeText(same.outcome), "applied") << text(same.left);
    const Verdict kept = carry(port(Kind::set, "BCM", 2, {{"portType", int64_t{7}}}));
    EXPECT_STREQ(outcomeText(kept.outcome), "applied") << text(kept.left);
    EXPECT_EQ(heard(), "");
}

TEST_F(Change, doesNotAddAPortThatTheServiceStillHas)
{
    serve();
    const RowWish remove = port(Kind::remove, "PSE", 4, {});
    const RowWish add =
        port(Kind::add, "PSE", 4, {{"phyDevice", "BCM:4"s}, {"interfaceName", "eth1"s}});
    ChangeOptions force;
    force.force = true;
    carry(remove, force);
    carry(add, force);
    EXPECT_EQ(heard(), "");
    carry(port(Kind::add, "PSE", 5, {{"phyDevice", "BCM:0"s}, {"interfaceName", "eth1"s}}), force);
    EXPECT_EQ(heard().substr(0, 25), "insert 11 in swPortConfig");
    ChangeSet changes{"", "", {{"swPortConfig", std::nullopt, Row()}}, {}};
    EXPECT_FALSE(waitsForStart(changes));
    changes.rows[0].told = false;
    EXPECT_TRUE(waitsForStart(changes));
}

TEST_F(Change, thatWasBrokenOffIsFinishedOrTakenBack)
{
    const auto leave = [this](bool written) {
        Database database(databaseFile(), Access::write);
        ChangeSet changes = planOf(database, addForty);
        writeRows(database, changes);
        Journal(databaseFile()).begin(changes);
        if (!written)
            database.remove("vlanEncapIf", 4);
    };
    EXPECT_FALSE(isUnfinished(databaseFile()));
    EXPECT_FALSE(recover().verdict);

    leave(/*written=*/true);
    EXPECT_TRUE(isUnfinished(databaseFile()));
    startLog();
    serve();
    Recovery recovery = recover();
    EXPECT_EQ(recovery.verdict.value().outcome, Outcome::applied);
    EXPECT_EQ(text(recovery.notes), "an earlier change (VLAN 40 added) was interrupted; it is "
                                    "finished");
    EXPECT_EQ(heard(), "delete 4 of 40, insert 4");
    EXPECT_EQ(rows(), withForty);
    EXPECT_FALSE(isUnfinished(databaseFile()));
    EXPECT_EQ(differing(), "");
    const auto recorded = [this] { return History(databaseFile()).entries(); };
    ASSERT_EQ(recorded().size(), 1u);
    EXPECT_EQ(recorded()[0].outcome + ": " + recorded()[0].changes.what, "applied: VLAN 40");
    EXPECT_TRUE(recorded()[0].verified);

    sql("DELETE FROM vlanEncapIf WHERE rowid = 4; DELETE FROM sqlite_sequence");
    leave(/*written=*/false);
    recovery = recover();
    EXPECT_EQ(recorded().size(), 1u) << "what was taken back never happened";
    EXPECT_EQ(recovery.verdict.value().outcome, Outcome::applied);
    EXPECT_HAS(recovery.notes.at(0), "it is taken back");
    EXPECT_EQ(heard(), "request 38 of 40");
    EXPECT_EQ(differing(), "");

    // One that nobody answered is in the history already, and gets an entry of how it ended.
    for (const bool written : {true, false}) {
        sql("DELETE FROM vlanEncapIf WHERE rowid = 4; DELETE FROM sqlite_sequence");
        leave(written);
        History history(databaseFile());
        const int64_t number =
            history.add(1, "unanswered", Journal(databaseFile()).unfinished().value(), false);
        recover();
        const HistoryEntry end = recorded().back();
        EXPECT_EQ(end.concerns, number);
        EXPECT_EQ(end.outcome, written ? "applied" : "taken back");
        EXPECT_EQ(end.changes.undoes, written ? 0 : number);
        EXPECT_TRUE(end.changes.rows.empty());
    }

    sql("DELETE FROM vlanEncapIf WHERE rowid = 4; DELETE FROM sqlite_sequence");
    leave(/*written=*/true);
    endService();
    recovery = recover();
    EXPECT_HAS(recovery.notes.at(0), "finished in the rows, which the service's next start");
    EXPECT_FALSE(recovery.verdict->verified);
    EXPECT_FALSE(isUnfinished(databaseFile()));
    EXPECT_EQ(rows(), withForty);
}

TEST_F(Change, onTrialIsTakenBackUnlessItIsConfirmed)
{
    serve();
    ChangeOptions trial;
    trial.onTrial = 600;
    const int64_t now = time(nullptr);
    const Verdict verdict = carry(addForty, trial);
    EXPECT_EQ(verdict.outcome, Outcome::applied);
    EXPECT_GE(verdict.deadline, now + 600);
    EXPECT_TRUE(isUnfinished(databaseFile()));
    Recovery recovery = recover();
    EXPECT_FALSE(recovery.verdict) << "its process watches over it";
    ASSERT_TRUE(recovery.waiting);
    heard();
    {
        GatewayView gateway = view();
        History history(databaseFile());
        const Verdict back = takeBackTrial(gateway, history, *recovery.waiting, TrialEnd::ranOut);
        EXPECT_EQ(back.outcome, Outcome::applied);
        EXPECT_EQ(back.changes.undoes, 1);
        EXPECT_EQ(history.entries().back().changes.undoes, 1);
    }
    EXPECT_EQ(heard(), "delete 4 of 40");
    EXPECT_EQ(rows(), soundVlans);
    EXPECT_EQ(differing(), "");
    EXPECT_FALSE(isUnfinished(databaseFile()));
    // A change that is refused is not on trial.
    serve({Reply::refuse});
    EXPECT_EQ(carry(addForty, trial).deadline, 0);
    EXPECT_FALSE(isThere(".trial"));
    EXPECT_FALSE(History(databaseFile()).entries().back().stands);
    // What was confirmed, and what a repair sent, is told as well.
    History history(databaseFile());
    rememberConfirmed(history, *recovery.waiting, "seen to work");
    EXPECT_EQ(history.entries().back().outcome, "confirmed");
    EXPECT_EQ(history.entries().back().concerns, 1);
    serve();
    setEntry(20, 0, 0);
    look(/*mend=*/true);
    const HistoryEntry repaired = History(databaseFile()).entries().back();
    EXPECT_EQ(repaired.changes.through + ": " + text(repaired.done),
              "repair: VLAN 20 announced again");
}

TEST_F(Change, onTrialIsTakenBackByItsProcessInTime)
{
    serve();
    ChangeOptions trial;
    trial.onTrial = 1;
    carry(addForty, trial);
    for (int tries = 0; isThere(".trial") && tries < 1000; ++tries)
        usleep(10000);
    EXPECT_FALSE(isThere(".trial"));
    EXPECT_EQ(rows(), soundVlans);
    EXPECT_EQ(heard(), "insert 4, delete 4 of 40");
    EXPECT_EQ(differing(), "");
}

TEST_F(Change, onTrialThatNobodyWatchesIsTakenBackByTheNextRun)
{
    struct Way {
        std::vector<Reply> replies;
        const char *before; // of its taking back, in the rows
        Outcome outcome;
        const char *note;
        const char *rows;
        bool stays;
    };
    using enum Reply;
    const Way ways[] = {
        {{accept}, "", Outcome::applied, "", soundVlans, false},
        {{refuse},
         "",
         Outcome::differs,
         "the service refused it; its next start applies the rows",
         soundVlans,
         false},
        {{stayAway}, "", Outcome::unanswered, "", withForty, true},
        {{accept},
         "UPDATE vlanEncapIf SET fwdMap = '4' WHERE rowid = 4",
         Outcome::differs,
         "another writer has changed row 4",
         "10 eth0 0,1 1; 20 eth0 1,2 2; 30 eth1 1,3 ; 40 eth1 4 4",
         false},
        {{}, "", Outcome::applied, "", soundVlans, false},
    };
    for (const Way &way : ways) {
        sql("DELETE FROM vlanEncapIf WHERE rowid = 4; DELETE FROM sqlite_sequence");
        Database database(databaseFile(), Access::write);
        ChangeSet changes = planOf(database, addForty);
        writeRows(database, changes);
        write("switch.db.trial", storedTrial(changes));
        if (*way.before != '\0')
            sql(way.before);
        restart();
        if (!way.replies.empty())
            serve(way.replies, way.replies.back());
        const Recovery recovery = recover();
        endService();
        ASSERT_TRUE(recovery.verdict);
        EXPECT_STREQ(outcomeText(recovery.verdict->outcome), outcomeText(way.outcome)) << way.note;
        EXPECT_HAS(recovery.verdict->note, way.note);
        EXPECT_EQ(text(recovery.notes),
                  "a change on trial (VLAN 40) was not being watched any more; it is taken "
                  "back");
        EXPECT_EQ(rows(), way.rows);
        EXPECT_EQ(isThere(".trial"), way.stays);
        EXPECT_EQ(recovery.waiting.has_value(), way.stays);
        static_cast<void>(unlink((databaseFile() + ".trial").c_str()));
        static_cast<void>(unlink((databaseFile() + ".change").c_str()));
        setEntry(40, 0, 0);
    }
}

TEST_F(Change, ofTheHardwareByOthersIsSeenAndMended)
{
    struct Fault {
        std::function<void()> make;
        std::string left, heard, done;
        bool allVlans = false;
    };
    const std::string repairs = " (swctl repair)";
    const Fault faults[] = {
        {[this] { setEntry(20, 6, 6); }, "VLAN 20 in the chip: 1U 2U, should be 1T 2U 4T" + repairs,
         "update 2 of 20", "VLAN 20 announced again"},
        {[this] { setEntry(20, 0, 0); }, "VLAN 20 in the chip: -, should be 1T 2U 4T" + repairs,
         "update 2 of 20", "VLAN 20 announced again"},
        {[this] { setTag(1, 30); }, "port 1 default tag: 30, should be 10" + repairs,
         "update 1 of 10", "VLAN 10 announced again"},
        {[this] { setInterface(20, "eth0", false); },
         "eth0.20: down, ingress priorities not mapped, egress priorities not mapped, should be "
         "up" +
             repairs,
         "delete 2 of 20, insert 2", "VLAN 20 announced again"},
        {[this] { dropInterfaces(20); }, "eth0.20: missing, should be up" + repairs,
         "delete 2 of 20, insert 2", "VLAN 20 announced again"},
        {[this] {
             known.insert(77);
             setInterface(77, "eth0");
             write("uptime/VLAN.77.Uptime", "");
         },
         "eth0.77: up, ingress priorities not mapped, egress priorities not mapped, should be none"
         " (swctl repair)",
         "request 38 of 77", "VLAN 77 cleared"},
        {[this] { setEntry(78, 3, 0); }, "VLAN 78 in the chip: 0T 1T, should be -" + repairs,
         "request 38 of 78, request 36 of 78, request 38 of 78", "VLAN 78 cleared; VLAN 78 cleared",
         true},
    };
    serve();
    for (const Fault &fault : faults) {
        SCOPED_TRACE(fault.left);
        fault.make();
        const Verdict seen = look(/*mend=*/false, fault.allVlans);
        EXPECT_EQ(text(seen.left), fault.left);
        EXPECT_EQ(seen.outcome, Outcome::differs);
        EXPECT_EQ(heard(), "");
        const Verdict mended = look(/*mend=*/true, fault.allVlans);
        EXPECT_EQ(text(mended.left), "");
        EXPECT_EQ(mended.outcome, Outcome::applied);
        EXPECT_EQ(text(mended.settled), fault.done);
        EXPECT_EQ(heard(), fault.heard);
        EXPECT_EQ(rows(), soundVlans);
    }
    EXPECT_EQ(text(look(/*mend=*/false).unread), "");
}

TEST_F(Change, ofTheHardwareIsMendedInThreeRoundsAtMost)
{
    sql("INSERT INTO vlanEncapIf (vlanId, interfaceName, fwdMap) VALUES (40, 'eth1', '3'), "
        "(50, 'eth1', '3')");
    restart();
    for (const int id : {10, 20, 30, 40, 50})
        setEntry(id, 0, 0);
    // Each round succeeds with one VLAN: with its update first, then with its two events.
    using enum Reply;
    std::vector<Reply> script(19, ignore);
    for (const size_t at : {0, 5, 6, 13, 14})
        script[at] = accept;
    serve(script, accept);
    const std::string left = text(look(/*mend=*/true).left);
    const std::string sent = heard();
    EXPECT_EQ(std::count(sent.begin(), sent.end(), ','), 18) << sent;
    EXPECT_HAS(left, "VLAN 50 in the chip: -");
}

TEST_F(Change, isSeenBeforeItIsMade)
{
    serve();
    const auto seen = [this](const Wish &wish, const PreviewOptions &options = {}) {
        GatewayView gateway = view();
        return preview(gateway, wish, options);
    };
    const Preview added = seen(addForty);
    EXPECT_EQ(text(added.lines), "+ VLAN 40  BCM 0T 3T 4U; ! port 4 PVID 1 -> 40; + eth1.40  up");
    EXPECT_GT(added.actions.size(), 5u);
    EXPECT_EQ(text(added.reasons), "");
    PreviewOptions offline;
    offline.offline = true;
    EXPECT_TRUE(seen(addForty, offline).actions.empty());
    EXPECT_EQ(text(seen(vlan(Kind::remove, 20)).lines),
              "- VLAN 20  BCM 1T 2U 4T; - eth0.20; ! port 2 is now untagged in no VLAN: its "
              "untagged frames are dropped");
    EXPECT_EQ(text(seen(vlan(Kind::set, 20, {{"fwdMap", "1,2,3"s}})).lines),
              "~ VLAN 20  BCM 1T 2U 4T -> 1T 2U 3T 4T");
    EXPECT_EQ(text(seen(port(Kind::set, "PSE", 3, {{"trustMode", int64_t{2}}})).lines),
              "! port 3 of PSE: as before until the service starts again");
    EXPECT_TRUE(seen(UndoWish{1, {}}).lines.empty());
    EXPECT_THROW(seen(vlan(Kind::add, 40, {{"interfaceName", "eth7"s}})), Failure);
    const RowWish wrong = vlan(Kind::add, 40, {{"interfaceName", "eth1"s}, {"fwdMap", "1,9"s}});
    PreviewOptions forced;
    forced.force = true;
    EXPECT_HAS(text(seen(wrong, forced).reasons), "Failed to create vlan (ID=40)");
    EXPECT_EQ(rows(), soundVlans);
    EXPECT_EQ(heard(), "");
}

TEST_F(Change, ofABridgeIsSeenBeforeItIsMade)
{
    sql("DELETE FROM swGlobalCfg; DELETE FROM swPortConfig; DELETE FROM vlanEncapIf; INSERT INTO "
        "swGlobalCfg (switchName, switchDevice, switchLevel, vlanEnable) VALUES ('BRIDGE', "
        "'br0', 1, 1); INSERT INTO swPortConfig (switchName, portNumber, interfaceName) VALUES "
        "('BRIDGE', 1, 'lan1'), ('BRIDGE', 2, 'lan2'); INSERT INTO vlanEncapIf (vlanId, fwdMap, "
        "untagMap) VALUES (10, '1,2', '2')");
    const std::string loss =
        "; ! port 2 is now untagged in no VLAN: its untagged frames are dropped";
    const std::pair<RowWish, std::string> cases[] = {
        {vlan(Kind::add, 20, {{"fwdMap", "1"s}}), "+ VLAN 20  bridge br0, lan1 T"},
        {vlan(Kind::set, 10, {{"untagMap", ""s}}),
         "~ VLAN 10  bridge br0, lan1 T, lan2 U -> br0, lan1 T, lan2 T" + loss},
        {vlan(Kind::remove, 10), "- VLAN 10  bridge br0, lan1 T, lan2 U" + loss},
    };
    PreviewOptions options;
    options.force = true; // whatever this machine's kernel can do
    for (const auto &[wish, expected] : cases) {
        GatewayView gateway = view();
        EXPECT_EQ(text(preview(gateway, wish, options).lines), expected);
    }
}

TEST_F(Change, isSeenWithItsOwnCommandsAndItsRefusalAlone)
{
    // The chip's switch is not the first row.
    sql("UPDATE swGlobalCfg SET rowid = rowid + 10 WHERE switchName = 'BCM'");
    GatewayView gateway = view();
    const Preview added = preview(gateway, addForty, {});
    EXPECT_EQ(added.lines.at(0), "+ VLAN 40  BCM 0T 3T 4U");
    EXPECT_HAS(text(added.actions), "VLAN_ENTRY_SET vlan 40 fwd 0x19 (0,3,4) untag 0x10 (4)");
    for (const char *other : {"vlan 10 ", "vlan 20 ", "eth0"})
        EXPECT_LACKS(text(added.actions), other);
    EXPECT_EQ(text(added.reasons), "");
    // Each value longer than its field.
    sql("INSERT INTO vlanEncapIf (vlanId, interfaceName) VALUES (50, '" + std::string(70, 'x') +
        "')");
    PreviewOptions force;
    force.force = true;
    const std::string long80(80, 'y');
    const Preview refused =
        preview(gateway, vlan(Kind::add, 60, {{"interfaceName", long80}}), force);
    EXPECT_EQ(text(refused.reasons),
              "vlanEncapIf.interfaceName is too long: 80 characters, at most 63 fit");
}

TEST_F(Change, ofASettingWaitsForAStartWhereThatMakesADifference)
{
    struct Setting {
        const char *owner;
        int64_t port; // below 0: of the switch
        const char *column;
        Value value;
        bool waits;
    };
    // A start configures the switch on top.
    const Setting settings[] = {
        {"PSE", 1, "trustMode", int64_t{2}, true},
        {"PSE", 1, "mirroring", int64_t{1}, false},
        {"PSE", 1, "phyDevice", "BCM:0"s, true},
        {"PSE", -1, "pauseFrameEnable", int64_t{1}, false}, // it has a request
        {"BCM", -1, "vlanEnable", int64_t{0}, false},
        {"BCM", 3, "PVID", int64_t{77}, false},
        {"BCM", 0, "portType", int64_t{1}, false},
        {"BCM", -1, "numPorts", int64_t{4}, false},
    };
    const Setting ofTheChipAlone[] = {
        {"BCM", -1, "vlanEnable", int64_t{0}, false}, // likewise
        {"BCM", 0, "portType", int64_t{1}, false},
    };
    const History history(databaseFile());
    const auto check = [&](const Setting &one) {
        GatewayView gateway = view();
        Snapshot before(gateway.database());
        const Transaction transaction(gateway.database(), Access::write);
        const RowWish ofSwitch = {Kind::set,
                                  "swGlobalCfg",
                                  "switch",
                                  {{"switchName", std::string(one.owner)}},
                                  {{one.column, one.value}}};
        ChangeSet changes =
            planOf(gateway.database(),
                   one.port < 0 ? ofSwitch
                                : port(Kind::set, one.owner, one.port, {{one.column, one.value}}));
        writeRows(gateway.database(), changes);
        Snapshot after(gateway.database());
        EXPECT_EQ(!pendingSettings(gateway, history, before, after, changes).empty(), one.waits)
            << one.column << " of " << one.owner;
    };
    for (const Setting &one : settings)
        check(one);
    sql("DELETE FROM swGlobalCfg WHERE switchName = 'PSE'; DELETE FROM swPortConfig WHERE "
        "switchName = 'PSE'");
    for (const Setting &one : ofTheChipAlone)
        check(one);
}

TEST_F(Change, ofASettingWaitsForNobodyWhereThereIsNoService)
{
    ChangeOptions offline;
    offline.offline = true;
    carry(port(Kind::set, "PSE", 3, {{"trustMode", int64_t{2}}}), offline);
    EXPECT_EQ(differing(), "");
}

TEST_F(Change, ofVlansBesideASettingIsComparedWithTheVlansAsTheyAreThen)
{
    serve();
    const BatchWish mixed{"2 commands",
                          {vlan(Kind::set, 20, {{"fwdMap", "0,2"s}}),
                           port(Kind::set, "BCM", 2, {{"portType", int64_t{7}}})}};
    const Verdict verdict = carry(mixed);
    EXPECT_STREQ(outcomeText(verdict.outcome), "applied") << text(verdict.left);
    EXPECT_EQ(heard(), "update 2 of 20");
}

TEST_F(Change, whoseCommitFailsLeavesNothingBehind)
{
    serve();
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t reader = fork();
    if (reader == 0) {
        Database other(databaseFile(), Access::read);
        const Transaction transaction(other, Access::read);
        const size_t rows = other.rows("vlanEncapIf").size();
        if (rows == 3 && ::write(ready[1], "", 1) == 1)
            pause();
        _exit(1);
    }
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    ChangeOptions trial;
    trial.onTrial = 600;
    EXPECT_HAS(refusal(addForty, trial), "2 database ");
    kill(reader, SIGKILL);
    waitpid(reader, nullptr, 0);
    close(ready[0]);
    close(ready[1]);
    EXPECT_EQ(rows(), soundVlans);
    EXPECT_FALSE(isThere(".change") || isThere(".trial") || isThere(".history"));
    EXPECT_EQ(heard(), "");
}

TEST_F(Change, thatCannotBeRecordedSaysSo)
{
    ASSERT_EQ(mkdir((databaseFile() + ".history").c_str(), 0700), 0);
    startLog();
    serve();
    const Verdict verdict = carry(addForty);
    EXPECT_EQ(verdict.outcome, Outcome::applied);
    EXPECT_HAS(verdict.note, "not in the history: ");
    EXPECT_HAS(verdict.note, "switch.db.history was not written by swctl");
}

TEST_F(Change, ofTheHardwareIsToldWithWhereAStartStopsAndWhatIsIdle)
{
    startLog();
    setTag(3, 30); // untagged in no VLAN
    setEntry(20, 6, 6);
    const Verdict sound = look(/*mend=*/false);
    EXPECT_EQ(sound.changes.what + " " + sound.changes.verb, "gateway compared");
    EXPECT_EQ(sound.startStops, "");
    EXPECT_LACKS(sound.note, "start");
    EXPECT_EQ(sound.unreached, 0u);
    EXPECT_EQ(text(sound.idle), "port 3 default tag: 30, should be 1 (no effect: the port is "
                                "untagged in no VLAN) (swctl repair)");
    sql("UPDATE vlanEncapIf SET LogicalIfName = '" + std::string(70, 'x') + "' WHERE rowid = 2");
    const Verdict stops = look(/*mend=*/false);
    EXPECT_HAS(stops.startStops, "would stop at row 2 of vlanEncapIf");
    EXPECT_HAS(stops.note, stops.startStops.c_str());
    EXPECT_EQ(stops.unreached, 2u);
    sql("UPDATE swPortConfig SET interfaceName = '" + std::string(70, 'x') + "' WHERE rowid = 2");
    EXPECT_EQ(look(/*mend=*/false).unreached, 3u);
    sql("DELETE FROM vlanEncapIf; DELETE FROM swPortConfig; DELETE FROM swGlobalCfg");
    EXPECT_HAS(look(/*mend=*/false).startStops, "there is no switch in the database");
}

TEST_F(Change, isNotVerifiedByWhatCannotBeRead)
{
    write("state", "x");
    serve();
    const Verdict verdict = look(/*mend=*/false);
    EXPECT_EQ(verdict.outcome, Outcome::differs);
    EXPECT_HAS(text(verdict.unread), "kernel: ");
    EXPECT_HAS(verdict.note, "engine: cannot tell whether its tools worked: no log daemon");
    EXPECT_HAS(text(verdict.unknown), "802.1Q of the chip: not known: no log daemon is running");
    EXPECT_HAS(text(verdict.unknown), "pause frames of the engine: not known: ");
    write("site.json", R"({"devices": {"/dev/bcmsw": "nochip"}, "engineState": "none",
        "interfaces": {"eth0": "02:00:00:00:00:10", "eth1": "02:00:00:00:00:11"}})");
    EXPECT_HAS(text(look(/*mend=*/false).unread), "chip: ");
}

TEST(Verdict, hasAWordAndAStatusForEachOutcome)
{
    const std::tuple<Outcome, const char *, ExitStatus> all[] = {
        {Outcome::applied, "applied", exitDone},
        {Outcome::refused, "refused", exitRefused},
        {Outcome::differs, "differs", exitDiffers},
        {Outcome::unanswered, "unanswered", exitUnreachable}};
    for (const auto &[outcome, word, status] : all) {
        EXPECT_STREQ(outcomeText(outcome), word);
        EXPECT_EQ(outcomeStatus(outcome), status);
    }
    Verdict verdict;
    addNote(verdict, "one");
    addNote(verdict, "two");
    EXPECT_EQ(verdict.note, "one\n  two");
}

} // namespace
} // namespace swctl::test
