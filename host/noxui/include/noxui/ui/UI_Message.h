// Messages that UI elements send to the handlers modules register with them.
#pragma once

#include <boost/function.hpp>

namespace noxui::ui {

class UI_Message {
 public:
  virtual ~UI_Message();
};

class UI_MessageHandler {
 public:
  virtual ~UI_MessageHandler();
  virtual void HandleMessage(UI_Message& message) = 0;
};

// Raises the host error "Invalid type conversion." (a UI element or message of another type
// than the one asked for).
[[noreturn]] void ThrowInvalidTypeConversion();

// Hands messages of one type to a function. Any other message is a programming error of the
// registration and raises "Invalid type conversion.".
template <class MessageType>
class MessageFunctionAdapter final : public UI_MessageHandler {
 public:
  explicit MessageFunctionAdapter(boost::function<void(MessageType*)> function)
      : function(std::move(function)) {}

  void HandleMessage(UI_Message& message) override {
    auto* typed = dynamic_cast<MessageType*>(&message);
    if (typed == nullptr) ThrowInvalidTypeConversion();
    if (function) function(typed);
  }

 private:
  boost::function<void(MessageType*)> function;
};

}  // namespace noxui::ui
