#include "ui/Accessibility.h"

#include <commctrl.h>
#include <initguid.h>
#include <oleacc.h>

#include "platform/WinString.h"

namespace kv::ui {
namespace {

// The control's standard accessible object with the description added:
// everything else (name, role, state, default action) stays the system's.
class DescribedAccessible final : public IAccessible {
 public:
  DescribedAccessible(IAccessible* inner, const std::wstring& description)
      : inner_(inner), description_(description) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override {
    if (!out) return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IDispatch) || IsEqualIID(riid, IID_IAccessible)) {
      *out = static_cast<IAccessible*>(this);
      AddRef();
      return S_OK;
    }
    // The window and enumeration interfaces a client may ask for next.
    return inner_->QueryInterface(riid, out);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return InterlockedIncrement(&refs_); }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = InterlockedDecrement(&refs_);
    if (left == 0) delete this;
    return left;
  }

  HRESULT STDMETHODCALLTYPE get_accDescription(VARIANT child, BSTR* out) override {
    if (!out) return E_POINTER;
    if (child.vt != VT_I4 || child.lVal != CHILDID_SELF) return inner_->get_accDescription(child, out);
    *out = SysAllocString(description_.c_str());
    return *out ? S_OK : E_OUTOFMEMORY;
  }

  // The rest is the standard object's.
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* n) override { return inner_->GetTypeInfoCount(n); }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT i, LCID l, ITypeInfo** t) override {
    return inner_->GetTypeInfo(i, l, t);
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID r, LPOLESTR* n, UINT c, LCID l, DISPID* d) override {
    return inner_->GetIDsOfNames(r, n, c, l, d);
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID d, REFIID r, LCID l, WORD f, DISPPARAMS* p, VARIANT* v, EXCEPINFO* e,
                                   UINT* a) override {
    return inner_->Invoke(d, r, l, f, p, v, e, a);
  }
  HRESULT STDMETHODCALLTYPE get_accParent(IDispatch** p) override { return inner_->get_accParent(p); }
  HRESULT STDMETHODCALLTYPE get_accChildCount(long* n) override { return inner_->get_accChildCount(n); }
  HRESULT STDMETHODCALLTYPE get_accChild(VARIANT c, IDispatch** p) override { return inner_->get_accChild(c, p); }
  HRESULT STDMETHODCALLTYPE get_accName(VARIANT c, BSTR* s) override { return inner_->get_accName(c, s); }
  HRESULT STDMETHODCALLTYPE get_accValue(VARIANT c, BSTR* s) override { return inner_->get_accValue(c, s); }
  HRESULT STDMETHODCALLTYPE get_accRole(VARIANT c, VARIANT* v) override { return inner_->get_accRole(c, v); }
  HRESULT STDMETHODCALLTYPE get_accState(VARIANT c, VARIANT* v) override { return inner_->get_accState(c, v); }
  HRESULT STDMETHODCALLTYPE get_accHelp(VARIANT c, BSTR* s) override { return inner_->get_accHelp(c, s); }
  HRESULT STDMETHODCALLTYPE get_accHelpTopic(BSTR* f, VARIANT c, long* t) override {
    return inner_->get_accHelpTopic(f, c, t);
  }
  HRESULT STDMETHODCALLTYPE get_accKeyboardShortcut(VARIANT c, BSTR* s) override {
    return inner_->get_accKeyboardShortcut(c, s);
  }
  HRESULT STDMETHODCALLTYPE get_accFocus(VARIANT* v) override { return inner_->get_accFocus(v); }
  HRESULT STDMETHODCALLTYPE get_accSelection(VARIANT* v) override { return inner_->get_accSelection(v); }
  HRESULT STDMETHODCALLTYPE get_accDefaultAction(VARIANT c, BSTR* s) override {
    return inner_->get_accDefaultAction(c, s);
  }
  HRESULT STDMETHODCALLTYPE accSelect(long f, VARIANT c) override { return inner_->accSelect(f, c); }
  HRESULT STDMETHODCALLTYPE accLocation(long* x, long* y, long* w, long* h, VARIANT c) override {
    return inner_->accLocation(x, y, w, h, c);
  }
  HRESULT STDMETHODCALLTYPE accNavigate(long d, VARIANT s, VARIANT* e) override {
    return inner_->accNavigate(d, s, e);
  }
  HRESULT STDMETHODCALLTYPE accHitTest(long x, long y, VARIANT* c) override { return inner_->accHitTest(x, y, c); }
  HRESULT STDMETHODCALLTYPE accDoDefaultAction(VARIANT c) override { return inner_->accDoDefaultAction(c); }
  HRESULT STDMETHODCALLTYPE put_accName(VARIANT c, BSTR s) override { return inner_->put_accName(c, s); }
  HRESULT STDMETHODCALLTYPE put_accValue(VARIANT c, BSTR s) override { return inner_->put_accValue(c, s); }

 private:
  ~DescribedAccessible() { inner_->Release(); }
  IAccessible* inner_;
  std::wstring description_;
  LONG refs_ = 1;
};

struct Described {
  std::wstring text;
  bool annotated;  // the system's annotation carries it; nothing to answer ourselves
};

constexpr UINT_PTR kSubclassId = 0x4B56;  // "KV"

LRESULT CALLBACK DescribedProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp, UINT_PTR, DWORD_PTR data) {
  auto* described = reinterpret_cast<Described*>(data);
  if (msg == WM_GETOBJECT && static_cast<LONG>(lp) == OBJID_CLIENT && !described->annotated) {
    IAccessible* standard = nullptr;
    if (SUCCEEDED(CreateStdAccessibleObject(hwnd, OBJID_CLIENT, IID_IAccessible,
                                            reinterpret_cast<void**>(&standard)))) {
      auto* wrapper = new DescribedAccessible(standard, described->text);
      const LRESULT result = LresultFromObject(IID_IAccessible, wp, wrapper);
      wrapper->Release();
      return result;
    }
  } else if (msg == WM_NCDESTROY) {
    RemoveWindowSubclass(hwnd, DescribedProc, kSubclassId);
    if (described->annotated) {
      IAccPropServices* services = nullptr;
      if (SUCCEEDED(CoCreateInstance(CLSID_AccPropServices, nullptr, CLSCTX_INPROC_SERVER, IID_IAccPropServices,
                                     reinterpret_cast<void**>(&services)))) {
        MSAAPROPID prop = PROPID_ACC_DESCRIPTION;
        services->ClearHwndProps(hwnd, OBJID_CLIENT, CHILDID_SELF, &prop, 1);
        services->Release();
      }
    }
    delete described;
  }
  return DefSubclassProc(hwnd, msg, wp, lp);
}

}  // namespace

void SetAccessibleDescription(HWND control, const std::string& description) {
  if (!control) return;
  auto* described = new Described{win::Widen(description), false};
  // The system's annotation first: it reaches every kind of client.
  // Where it is missing, the control answers for itself.
  IAccPropServices* services = nullptr;
  if (SUCCEEDED(CoCreateInstance(CLSID_AccPropServices, nullptr, CLSCTX_INPROC_SERVER, IID_IAccPropServices,
                                 reinterpret_cast<void**>(&services)))) {
    described->annotated = SUCCEEDED(services->SetHwndPropStr(control, OBJID_CLIENT, CHILDID_SELF,
                                                              PROPID_ACC_DESCRIPTION, described->text.c_str()));
    services->Release();
  }
  if (!SetWindowSubclass(control, DescribedProc, kSubclassId, reinterpret_cast<DWORD_PTR>(described))) {
    delete described;
  }
}

}  // namespace kv::ui
