#pragma once
// The hidden form that lives for the whole run and holds the side-bar
// pictures: a tall colour gradient with the product mark, and the emblems
// with an alpha channel, one per phase of the wizard. They are drawn once
// with GDI at load.
#include <windows.h>

namespace kv::ui {

// What the emblem says: a page that asks (an arrow onwards), files going in
// (an arrow down), done (a check mark), files going away (a minus).
enum class Emblem { Ask, Installing, Done, Removing };

class frmEmpty {
 public:
  frmEmpty();
  ~frmEmpty();
  frmEmpty(const frmEmpty&) = delete;
  frmEmpty& operator=(const frmEmpty&) = delete;

  HBITMAP Picture1() const { return gradient_; }  // side bar background
  // The emblem of a phase, premultiplied alpha.
  HBITMAP Picture2(Emblem kind = Emblem::Ask) const { return emblems_[static_cast<int>(kind)]; }

  static constexpr int kGradientW = 150, kGradientH = 400;
  static constexpr int kEmblemSize = 96;

 private:
  HBITMAP gradient_ = nullptr;
  HBITMAP emblems_[4] = {};
};

}  // namespace kv::ui
