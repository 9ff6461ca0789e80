#include <gtest/gtest.h>

#include "support/SilentPlatform.h"

#include <set>

#include "host/AllForms.h"
#include "view/Widgets.h"

using namespace kmd;

namespace {

using kmd::test::SilentPlatform;

// The user changes the first text field that reacts to typing.
bool TypeIntoAField(view::Controls& controls) {
  for (const auto& c : controls) {
    auto* f = dynamic_cast<view::TextField*>(c.get());
    if (f && f->Change) {
      f->Change();
      return true;
    }
  }
  return false;
}

class MessageCount : public IFormEvents {
 public:
  void Message(const std::string& text) override { messages += text == "暂无打印功能!" ? 1 : 100; }
  void ErrMessage(const std::string&, int32_t, const std::string&) override { ++reports; }
  void FormRefreshed() override {}
  void Property(const std::string&, const Value&, bool) override {}
  int messages = 0;
  int reports = 0;
};

}  // namespace

// Hosts ask a form whether to save before closing it only where IsDirty answers with the flag;
// the coded hierarchies alone answer "True" to Attributes(0).
TEST(ContractSplit, IsDirtyAndAttributesFollowTheForm) {
  const std::set<std::string> answersDirty = {"JLDW", "XSY", "BM", "CPLB", "SRLB", "QMSPOItem", "QMSCMItem"};
  const std::set<std::string> alwaysClean = {"CGY", "DQ",   "lxlx", "ZW",       "WHCD", "ZYLB",
                                             "SKFS", "HYFS", "SH",   "BillType", "Item"};
  const std::set<std::string> silentPrint = {"DQ", "lxlx", "ZYLB", "SH"};
  const std::set<std::string> coded = {"BM", "CPLB", "DQ", "lxlx", "SRLB"};
  SilentPlatform p;
  int checked = 0;
  for (const auto& e : host::AllForms().Entries()) {
    bool dirty = answersDirty.count(e.className) > 0;
    if (!dirty && !alwaysClean.count(e.className)) continue;
    auto f = host::AllForms().Create(e.className, p);
    ASSERT_TRUE(f) << e.className;
    ASSERT_TRUE(TypeIntoAField(f->Controls())) << e.className;
    EXPECT_EQ(f->IsDirty(), dirty) << e.className;
    EXPECT_EQ(f->Attributes(0), coded.count(e.className) ? "True" : "") << e.className;
    EXPECT_EQ(f->Attributes(1), "") << e.className;
    // The print commands: a "no printing yet" line each, or nothing at all; never True.
    MessageCount events;
    f->Inner().SetEventSink(&events);
    EXPECT_FALSE(f->PrintPreview() || f->DoPrint() || f->PrintSetup()) << e.className;
    EXPECT_EQ(events.messages, silentPrint.count(e.className) ? 0 : 3) << e.className;
    EXPECT_EQ(events.reports, 0) << e.className;
    ++checked;
  }
  EXPECT_EQ(checked, static_cast<int>(answersDirty.size() + alwaysClean.size()));
}

// A further search is offered only by the forms that keep the last search text; Find and the
// record movement are missing only in the employee categories.
TEST(ContractSplit, FlatDictionariesSearchAndMoveWhereOffered) {
  const std::set<std::string> findsNext = {"JLDW", "XSY", "ZW", "QMSPOItem", "QMSCMItem"};
  SilentPlatform p;
  for (const std::string name : {"JLDW", "XSY", "ZW", "QMSPOItem", "QMSCMItem", "CGY", "WHCD", "ZYLB", "SKFS", "HYFS",
                                 "BillType", "Item", "SH"}) {
    auto f = host::AllForms().Create(name, p);
    ASSERT_TRUE(f) << name;
    EXPECT_EQ(f->FindNext(), findsNext.count(name) > 0) << name;
    if (findsNext.count(name)) continue;
    EXPECT_EQ(f->Find(Value()), name != "ZYLB") << name;
    EXPECT_EQ(f->RecordNext() || f->RecordPrevious(), name != "ZYLB") << name;
  }
}
