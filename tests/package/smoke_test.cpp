#include <gtest/gtest.h>
#include "support/ScriptedUi.h"
TEST(Smoke, ScriptedUiAnswersOk) {
  kv::test::ScriptedUi ui;
  EXPECT_EQ(ui.MsgBox({"x"}), kv::MsgResult::OK);
}
