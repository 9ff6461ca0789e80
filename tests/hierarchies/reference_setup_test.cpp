// The reference fields that the product categories and the organisation set up when they are
// created: what the host's lookups and browse windows get from them.
#include <gtest/gtest.h>

#include "support/SilentPlatform.h"

#include "hierarchies/BM.h"
#include "hierarchies/CPLB.h"

using namespace kmd;

namespace {

using kmd::test::SilentPlatform;

const view::Reference& ReferenceOf(Form& form, const std::string& displayName) {
  auto* field = dynamic_cast<view::TextField*>(form.Controls().FindByDisplayName(displayName));
  if (!field) throw std::runtime_error("no text field " + displayName);
  return field->GetReference();
}

}  // namespace

TEST(ReferenceSetup, WarehouseAttributeChecksItsInputAsTheOnlyOne) {
  SilentPlatform p;
  BM bm(p);
  const auto& attribute = ReferenceOf(bm, "qnTxt");
  EXPECT_TRUE(attribute.IsReference);
  EXPECT_TRUE(attribute.CheckInput);
  EXPECT_EQ(attribute.MatchMode, 1);
  EXPECT_EQ(attribute.Source, 1);
  EXPECT_EQ(attribute.LookupKey, "st_attribute");
  EXPECT_EQ(attribute.ValueColumn, "text");
  EXPECT_EQ(attribute.TextColumn, "caption");
  EXPECT_EQ(attribute.SelectSql,
            "SELECT code,caption,text from xt_billattribute where progID='200003'  and attribute='仓库属性'  and "
            "(code='@' or caption='@')");

  CPLB cplb(p);
  for (const char* name : {"qnT(3)", "qnT(4)", "qnT(5)"}) {
    const auto& subject = ReferenceOf(cplb, name);
    EXPECT_TRUE(subject.IsReference) << name;
    EXPECT_FALSE(subject.CheckInput) << name;
    EXPECT_EQ(subject.ErrorText, "会计科目输入有误，请重新输入！") << name;
  }
  // The stock subject holds its code, the partner subjects their ids.
  EXPECT_EQ(ReferenceOf(cplb, "qnT(3)").ValueColumn, "科目编码");
  EXPECT_EQ(ReferenceOf(cplb, "qnT(4)").ValueColumn, "科目ID");
  EXPECT_EQ(ReferenceOf(cplb, "qnT(5)").LookupKey, "gy_wlkm_nMx");
}
