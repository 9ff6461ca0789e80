#pragma once
// The tree tests' platform that answers from a queue, and a hooked tree to build on.
#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

#include "tree/cTreeView.h"

namespace kmd::testing_tree {

class FakePlatform : public view::Platform {
 public:
  int MsgBox(const std::string& text, int, const std::string&) override {
    boxes.push_back(text);
    return view::vbOK;
  }
  std::string InputBox(const std::string& prompt, const std::string&, const std::string&) override {
    prompts.push_back(prompt);
    std::string a = answers.empty() ? "" : answers.front();
    if (!answers.empty()) answers.pop_front();
    return a;
  }
  std::vector<std::string> boxes, prompts;
  std::deque<std::string> answers;
};

class TreeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    tv.HookCtrl(&ctrl, std::make_shared<view::ImageList>(std::vector<std::string>{"a", "b", "DRAGICON"}));
    tv.Selected = [this](const NodePtr& n) { selected.push_back(n ? n->Text : "<none>"); };
  }
  NodePtr Add(const NodeRef& rel, const std::string& key, const std::string& text) {
    return tv.NodeAdd(rel, rel.IsNone() ? -1 : view::tvwChild, key, text);
  }
  FakePlatform platform;
  view::TreeView ctrl;
  cTreeView tv{platform};
  std::vector<std::string> selected;
};

}  // namespace kmd::testing_tree

using kmd::testing_tree::FakePlatform;
using kmd::testing_tree::TreeTest;
