// Logging: levels, labels, developer logging, limits, the record sent.
#include "support/fixture.h"

#include "base/labels.h"
#include "base/log.h"
#include "model/switch.h"
#include "model/vlan.h"

namespace {

struct LogRecord : testing::Test {
    Fixture gateway;
};

int evaluated = 0;

const char *countedLabel()
{
    ++evaluated;
    return "";
}

int countedArgument()
{
    return ++evaluated;
}

TEST_F(LogRecord, aRecordGoesToModule20WithItsTerminatorCounted)
{
    gateway.start();
    swMgrDebug("pre ", SWMGR_LOG_INFO, nullptr, 0, "%s%d", "abcd", 25);
    const platform::LogSent &sent = platform::lastLog();
    EXPECT_EQ(pSwMgrRelayCtx, sent.ctx);
    EXPECT_EQ((std::vector{20, 32, 40, 2, 0, 0}),
              (std::vector{sent.module, sent.type, int(sent.record.size()), sent.mode, sent.arg1,
                           sent.arg2}));
    platform::Bytes record(40, 0);
    record[0] = 103;
    record[4] = 64;
    EXPECT_EQ(record, sent.record);
    EXPECT_EQ("pre abcd25", sent.text);
    EXPECT_EQ(11u, sent.length);
}

TEST_F(LogRecord, theLengthEndsWithTheText)
{
    gateway.start();
    swMgrDebug("", SWMGR_LOG_INFO, nullptr, 0, "ab%cd", 0);
    EXPECT_EQ("ab", platform::lastLog().text);
    EXPECT_EQ(3u, platform::lastLog().length);
}

TEST(LogRecords, textIsComposedOfPrefixPlaceAndMessage)
{
    EXPECT_EQ(0, swMgrDebug(nullptr, 8, nullptr, 0, "text %d\n", 1));
    EXPECT_EQ(0, swMgrDebug("", 64, nullptr, 5, "text"));
    EXPECT_EQ(0, swMgrDebug("(switch=PSE) ", 256, "switchConfAdd", 529, "text"));
    EXPECT_EQ(0, swMgrDebug("p", -1, "f", 1, "text"));
    EXPECT_EQ(0, swMgrDebug("p", -128, "f", 1, "text"));
    platform::answer("log", -5);
    EXPECT_EQ(0, swMgrDebug(nullptr, 0, nullptr, 0, "failed send"));
    EXPECT_LINES(platform::everything(), R"(
log 8 text 1\n
log 64 text
log 256 (switch=PSE) switchConfAdd:529:text
log 0 failed send
)");
}

TEST(LogRecords, longTextIsCutAt1023Characters)
{
    const std::string longText(3000, 'x');
    for (const auto &[prefix, func, text] : {std::tuple{std::string(), std::string("f"), longText},
                                             {longText, "f", "t"},
                                             {"p", longText, "t"},
                                             {"", "f", std::string(1018, 'y')}}) {
        swMgrDebug(prefix.c_str(), 8, func.c_str(), 12, "%s", text.c_str());
        EXPECT_EQ(1023u, platform::lastLog().text.size());
        EXPECT_EQ(1024u, platform::lastLog().length);
    }
    swMgrDebug(nullptr, 8, nullptr, 0, "%s", std::string(1022, 'z').c_str());
    EXPECT_EQ(1022u, platform::lastLog().text.size());
}

TEST(LogRecords, aDroppedMessageEvaluatesNeitherLabelNorArguments)
{
    LOG_DEVELOPER(countedLabel(), "%d", countedArgument());
    EXPECT_EQ(0, evaluated);
    EXPECT_EQ("", platform::everything());
    swMgrDevDebug = 1;
    LOG_DEVELOPER(countedLabel(), "%d", countedArgument());
    EXPECT_EQ(2, evaluated);
}

TEST(LogRecords, labelsNameSwitchPortAndVlanInTheirOwnClearedBuffer)
{
    Switch sw{};
    strcpy(sw.switchName, "PSE");
    SwitchPort port{};
    port.ownerSwitch = &sw;
    port.portNumber = -3;
    SwitchVlan vlan{};
    vlan.ownerSwitch = &sw;
    vlan.vlanId = 4094;
    EXPECT_STREQ("(switch=PSE) ", switchStrGet(&sw));
    EXPECT_STREQ("(switch=PSE) (port:-3) ", swPortStrGet(&port));
    EXPECT_STREQ("(switch=PSE) (vlan:4094) ", swVlanStrGet(&vlan));
    memset(sw.switchName, 'n', 511);
    EXPECT_EQ(511u, strlen(switchStrGet(&sw)));
    EXPECT_EQ(511u, strlen(swPortStrGet(&port)));
    strcpy(sw.switchName, "S");
    memset(swVlanStr, 'x', 511);
    for (const auto &[label, text] : {std::pair{switchStrGet(&sw), "(switch=S) "},
                                      {swPortStrGet(&port), "(switch=S) (port:-3) "},
                                      {swVlanStrGet(&vlan), "(switch=S) (vlan:4094) "}}) {
        std::string padded(text);
        padded.resize(512);
        EXPECT_EQ(padded, std::string(label, 512));
    }
}

} // namespace
