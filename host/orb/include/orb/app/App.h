// The host application and its workspace. A host makes one App at start-up (it becomes the
// current one) and destroys it at exit; modules reach shared UI services through it.
#pragma once

#include <noxui/drawbot/Supplier.h>

#include <memory>

namespace orb::app {

class Workspace {
 public:
  Workspace();
  // The workspace's draw supplier; lives as long as the workspace.
  noxui::drawbot::SupplierInterface* GetDrawSupplier() const { return supplier.get(); }

 private:
  std::unique_ptr<noxui::drawbot::SupplierInterface> supplier;
};

class AppBase {
 public:
  virtual ~AppBase();
  AppBase(const AppBase&) = delete;
  AppBase& operator=(const AppBase&) = delete;
  Workspace* GetWorkspace() { return &workspace; }

 protected:
  AppBase();  // only an App is made

 private:
  Workspace workspace;
};

class App : public AppBase {
 public:
  App() = default;
  // The current application, or null when the host made none.
  static App* GetApp();
};

}  // namespace orb::app
