#pragma once
// What the two progress pages share: their text centred on the page, a bar
// and the name of the file in hand below it, so that long work never looks
// frozen.
#include "ui/Form.h"

namespace kv::ui {

class ProgressPage : public Form {
 public:
  using Form::Form;
  void OnProgress(int done, int total, const std::string& item) override;

 protected:
  // The page's text (bold, centred) at `top`, the bar and the file line below.
  void ProgressRows(int textId, const std::string& text, int top, int textHeight);
};

}  // namespace kv::ui
