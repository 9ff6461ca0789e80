#include "host/Lookups.h"

#include "base/Text.h"

namespace kmd::host {

namespace {

// Every lookup key of the forms, in one place. A form that brings a new key adds its window here.
const std::vector<LookupWindow>& Windows() {
  static const std::vector<LookupWindow> windows = {
      {"gy_jldw", "计量单位", "Select 单位ID,代码,名称 From KMDjldw order by 代码", "代码", {"代码", "名称"}},
      {"gy_clkm", "存货科目", "select 科目编码,科目名称,科目ID from kmdkjkm where 是否存货科目=1 order by 科目编码", "科目编码",
       {"科目编码", "科目名称"}},
      {"gy_wlkm_nMx", "往来科目", "select 科目编码,科目名称,科目ID from kmdkjkm where 是否往来核算=1 order by 科目编码",
       "科目编码", {"科目编码", "科目名称"}},
      {"st_attribute", "仓库属性",
       "SELECT code,caption,text from xt_billattribute where progID='200003' and attribute='仓库属性' order by code", "code",
       {"code", "caption"}},
      {"cpml_lx", "产品来源",
       "select code,caption,text FROM xt_billattribute where ProgID=200008 AND attribute ='产品来源' order by code", "code",
       {"code", "caption"}},
      {"cpml_cg", "采购方式",
       "select code,caption,text FROM xt_billattribute where ProgID=200008 AND attribute ='采购方式' order by code", "code",
       {"code", "caption"}},
      {"hp_provide", "供应商",
       "select 公司编号,公司名称,助忆词,往来ID from vtkmdwldw where 属性=1 AND 是否明细=1 and 是否停用=0 order by 公司编号",
       "公司编号", {"公司编号", "公司名称", "助忆词"}},
      {"gy_srlxname", "工艺路线", "select 路线名称,ID FROM KMDSRLX where 是否标准=1 order by 路线名称", "路线名称", {"路线名称"}},
      {"hp_ywy", "业务员", "Select 代码,名称,AutoID From kmdxsy order by 代码", "代码", {"代码", "名称"}},
      {"hp_foreign", "币种", "Select 外币代号,外币名称,币种ID From KMDBZ order by 外币代号", "外币代号", {"外币代号", "外币名称"}},
      {"gy_CJ", "生产车间", "Select 部门编码,部门名称,部门ID From KMDBM where 是否参与生产=1 order by 部门编码", "部门编码",
       {"部门编码", "部门名称"}},
      {"gy_sr", "工艺", "select 编号,工艺名称,简称,工艺ID from KMDSr order by 编号", "编号", {"编号", "工艺名称"}},
      {"gy_gzzx", "工作中心", "Select 工作中心代码,工作中心名称,工作中心ID From KMDGZZX order by 工作中心代码", "工作中心代码",
       {"工作中心代码", "工作中心名称"}},
      {"gy_whcd", "文化程度", "select 文化程度,文化程度ID from kmdwhcd order by 文化程度ID", "文化程度", {"文化程度"}},
      {"gy_dept", "所属部门", "Select 部门编码,部门名称,部门ID From KMDBM order by 部门编码", "部门编码", {"部门编码", "部门名称"}},
      {"gy_zw", "职务", "select 编号,职务,职务ID from kmdzw order by 编号", "编号", {"编号", "职务"}},
      {"gy_zylb", "职员类别", "select 类别代码,职员类别,类别ID from kmdzylb order by 类别代码", "类别代码", {"类别代码", "职员类别"}},
  };
  return windows;
}

}  // namespace

const LookupWindow* FindLookupWindow(const std::string& key) {
  for (const auto& w : Windows())
    if (text::EqualsNoCase(w.Key, text::Trim(key))) return &w;
  return nullptr;
}

}  // namespace kmd::host
