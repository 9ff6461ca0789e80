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

TEST(Contract, UnknownClassNamesGiveNoForm) {
  SilentPlatform p;
  auto r = Registry();
  EXPECT_TRUE(r.Create("xsy", p));  // class names ignore Latin case
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
    EXPECT_TRUE(f->Clear());
  }
}
