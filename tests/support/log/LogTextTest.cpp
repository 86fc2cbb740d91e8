#include <gtest/gtest.h>

#include "support/log/LogPlace.h"
#include "support/log/LogText.h"

namespace {

TEST(LogText, NestsContextsAndShowsEveryKindOfEntry) {
    LogText log;
    DataBuffer bytes;
    XString text;
    StringBuffer forged;
    bytes.append("\x01\xab\xff", 3);
    text.appendUtf8("Zo\xc3\xab");
    forged.append("a\nERROR: forged\x7f");
    LogContextExitor outer(log, "outer");
    log.LogInfo("a note");
    {
        LogContextExitor inner(log, "inner");
        log.LogError("went wrong");
        log.LogData("nothing", nullptr);
        log.LogDataSb("forged", forged);
        log.LogBracketed("blanks", " x ");
        log.LogBracketed("none", nullptr);
    }
    { LogContextExitor empty(log, "empty"); }
    log.LogDataX("name", text);
    log.LogDataLong("count", -3);
    log.LogDataBool("yes", true);
    log.LogDataBool("no", false);
    log.LogDataHexDb("hex", bytes);
    log.LogDataBase64("base64", bytes.getData2(), bytes.getSize());
    EXPECT_EQ(log.getText(),
              "outer:\n    a note\n    inner:\n        ERROR: went wrong\n"
              "        nothing: (null)\n        forged: a\\x0AERROR: forged\\x7F\n"
              "        blanks: [ x ]\n        none: (null)\n"
              "    empty:\n    name: Zo\xc3\xab\n    count: -3\n    yes: true\n    no: false\n"
              "    hex: 01ABFF\n    base64: Aav/\n");
}

TEST(LogPlace, StandsInFrontOfErrorsAlone) {
    LogText log;
    certstore::LogPlace place(log, "bag 1: ");
    {
        LogContextExitor context(place, "inner");
        place.LogInfo("a note");
        place.LogData("tag", "value");
        place.LogError("went wrong");
    }
    place.LogInfo("outside");
    EXPECT_EQ(log.getText(),
              "inner:\n    a note\n    tag: value\n    ERROR: bag 1: went wrong\n"
              "outside\n");
}

}  // namespace
