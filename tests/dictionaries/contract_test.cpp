#include <gtest/gtest.h>

#include "support/SilentPlatform.h"

#include "dictionaries/Forms.h"

using namespace kmd;

namespace {

using kmd::test::SilentPlatform;

FormRegistry Registry() {
  FormRegistry r;
  RegisterDictionaryForms(r);
  return r;
}

}  // namespace

TEST(Contract, PurchasersNumberTheirEventsTheirOwnWay) {
  SilentPlatform p;
  auto r = Registry();
  auto cgy = r.Create("CGY", p);
  auto xsy = r.Create("xsy", p);  // class names ignore Latin case
  ASSERT_TRUE(cgy && xsy);
  EXPECT_EQ(cgy->EventNumber(FormEvent::Message), 1);
  EXPECT_EQ(cgy->EventNumber(FormEvent::FormRefreshed), 2);
  EXPECT_EQ(cgy->EventNumber(FormEvent::ErrMessage), 3);
  EXPECT_EQ(xsy->EventNumber(FormEvent::ErrMessage), 2);
  EXPECT_EQ(xsy->EventNumber(FormEvent::FormRefreshed), 3);
  EXPECT_EQ(r.Create("NoSuchForm", p), nullptr);
}

TEST(Contract, CallsBeforeInitAreCaughtByTheGuard) {
  SilentPlatform p;
  auto r = Registry();
  for (const auto& e : r.Entries()) {
    auto f = r.Create(e.className, p);
    ASSERT_TRUE(f) << e.className;
    EXPECT_FALSE(f->Refresh()) << e.className;  // no context yet: a run-time error, reported, not thrown
    EXPECT_EQ(f->Attributes(0), "") << e.className;
    EXPECT_EQ(f->Parameters(), nullptr);
    ParameterCollection params;
    f->SetParameters(nullptr);
    f->SetParameters(&params);
    params.Set("backcolor", Value(255));
    f->SetParameters(&params);
    EXPECT_EQ(f->Inner().BackColor(), 255);
    EXPECT_TRUE(f->Clear());
  }
}
