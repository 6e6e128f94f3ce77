#pragma once
// The hidden form that lives for the whole run and holds the two side-bar
// pictures: a tall colour gradient with the product mark, and a smaller
// emblem with an alpha channel. They are drawn once with GDI at load.
#include <windows.h>

namespace kv::ui {

class frmEmpty {
 public:
  frmEmpty();
  ~frmEmpty();
  frmEmpty(const frmEmpty&) = delete;
  frmEmpty& operator=(const frmEmpty&) = delete;

  HBITMAP Picture1() const { return gradient_; }  // side bar background
  HBITMAP Picture2() const { return emblem_; }    // emblem, premultiplied alpha

  static constexpr int kGradientW = 150, kGradientH = 400;
  static constexpr int kEmblemSize = 96;

 private:
  HBITMAP gradient_ = nullptr;
  HBITMAP emblem_ = nullptr;
};

}  // namespace kv::ui
