#pragma once
#include <string>

namespace kmd::host {

// The group a host lists a form under: the subsystem of the library that the class belongs to,
// by its Chinese name, numbered in the order of the subsystems (基础字典 1, 分级编码 2, 职员档案 3,
// 产品目录 4, 币种汇率 5, 工艺资料 6, 分配关系 7, 颜色色号 8). A class of no known subsystem keeps
// the group it was registered with, numbered 9.
struct FormGroupOf {
  int order;
  std::string name;
};
FormGroupOf FormGroup(const std::string& className, const std::string& registered);

}  // namespace kmd::host
