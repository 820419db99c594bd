#include <orb/app/App.h>

#include <atomic>

namespace orb::app {

namespace {

std::atomic<AppBase*> sCurrentApp{nullptr};

}  // namespace

Workspace::Workspace() : supplier(noxui::drawbot::NewOSSupplier()) {}

AppBase::AppBase() { sCurrentApp.store(this); }

AppBase::~AppBase() {
  AppBase* self = this;
  sCurrentApp.compare_exchange_strong(self, nullptr);
}

App* App::GetApp() { return static_cast<App*>(sCurrentApp.load()); }

}  // namespace orb::app
