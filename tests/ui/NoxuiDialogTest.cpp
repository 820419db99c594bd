// The host's UI framework on the offscreen platform: dialogs built from Designer files, their
// controls and messages, scripted runs and runs driven by simulated clicks.

#include <noxcore/config/Error.h>
#include <noxui/controls/UI_Button.h>
#include <noxui/controls/UI_Popup.h>
#include <noxui/controls/UI_StaticText.h>
#include <noxui/ui/Application.h>
#include <noxui/ui/DialogScript.h>
#include <noxui/ui/UI_ArchivedDialog.h>

#include <QAbstractItemDelegate>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace noxui;
using controls::UI_Button;
using controls::UI_InteractiveControlChangedMessage;
using controls::UI_Popup;
using controls::UI_TextButton;
using ui::DialogScript;
using ui::ScriptStep;

constexpr const char* kDialogUi = R"(<?xml version="1.0" encoding="UTF-8"?>
<ui version="4.0">
 <class>Sample</class>
 <widget class="QDialog" name="Sample">
  <property name="geometry"><rect><x>0</x><y>0</y><width>300</width><height>100</height></rect></property>
  <widget class="QLabel" name="Label">
   <property name="geometry"><rect><x>10</x><y>10</y><width>60</width><height>20</height></rect></property>
   <property name="text"><string>Choose:</string></property>
  </widget>
  <widget class="QComboBox" name="Popup">
   <property name="geometry"><rect><x>80</x><y>10</y><width>120</width><height>24</height></rect></property>
  </widget>
  <widget class="QPushButton" name="Action">
   <property name="geometry"><rect><x>210</x><y>10</y><width>80</width><height>24</height></rect></property>
   <property name="text"><string>Act</string></property>
  </widget>
  <widget class="QPushButton" name="Cancel">
   <property name="geometry"><rect><x>110</x><y>60</y><width>80</width><height>28</height></rect></property>
   <property name="text"><string>Cancel</string></property>
  </widget>
  <widget class="QPushButton" name="OK">
   <property name="geometry"><rect><x>200</x><y>60</y><width>90</width><height>28</height></rect></property>
   <property name="text"><string>OK</string></property>
  </widget>
 </widget>
</ui>
)";

// A bundle directory holding the dialog resources "Sample" and "NotADialog".
class SampleBundle {
 public:
  SampleBundle() {
    root = std::filesystem::temp_directory_path() /
           ("noxui-test-" + std::to_string(::getpid()) + ".bundle");
    const auto resources = root / "Contents" / "Resources";
    std::filesystem::create_directories(resources);
    std::ofstream(resources / "Sample.ui") << kDialogUi;
    std::ofstream(resources / "NotADialog.ui")
        << R"(<ui version="4.0"><widget class="QWidget" name="Plain"/></ui>)";
    manager = std::make_unique<utility::OS_ResourceManager>(root.string());
  }
  ~SampleBundle() { std::filesystem::remove_all(root); }
  const utility::ResourceManager* Resources() const { return manager.get(); }

 private:
  std::filesystem::path root;
  std::unique_ptr<utility::OS_ResourceManager> manager;
};

class NoxuiDialog : public ::testing::Test {
 protected:
  void TearDown() override { DialogScript::Get().Clear(); }

  ui::UI_ArchivedDialogPtr Make(const std::string& name = "Sample", void* parent = nullptr) {
    return new ui::UI_ArchivedDialog(nullptr, bundle.Resources(), name, u"Sample Title", parent,
                                     true, false, ui::Point{}, {});
  }

  // A dialog with its OK and Cancel buttons set, as modules use it.
  ui::UI_ArchivedDialogPtr MakeWithButtons() {
    auto dialog = Make();
    dialog->SetOkButton(dialog->GetTypedControlForID<UI_Button>("OK"));
    dialog->SetCancelButton(dialog->GetTypedControlForID<UI_Button>("Cancel"));
    return dialog;
  }

  SampleBundle bundle;
};

ScriptStep Click(const char* id) {
  ScriptStep step;
  step.controlID = id;
  return step;
}

std::u16string ErrorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const noxcore::config::HostError& error) {
    return error.Message();
  }
  return u"(no error)";
}

// Records the change messages a control sends.
struct Recorder {
  std::vector<std::pair<controls::UI_InteractiveControlView*, int>> changes;
  void Listen(controls::UI_InteractiveControlView& control) {
    control.NotifyWhenChangedInteractively(
        std::make_unique<ui::MessageFunctionAdapter<UI_InteractiveControlChangedMessage>>(
            [this](UI_InteractiveControlChangedMessage* message) {
              changes.emplace_back(message->GetControl(), message->GetChangeMessage());
            }));
  }
};

TEST_F(NoxuiDialog, ElementsAreFoundByTheirIDsWithTheTypeOfTheirWidget) {
  auto dialog = Make();
  EXPECT_NE(dynamic_cast<UI_Popup*>(dialog->GetNodeForID("Popup").get()), nullptr);
  EXPECT_NE(dynamic_cast<UI_TextButton*>(dialog->GetNodeForID("OK").get()), nullptr);
  EXPECT_NE(dynamic_cast<controls::UI_StaticText*>(dialog->GetNodeForID("Label").get()), nullptr);
  EXPECT_EQ(dialog->GetNodeForID("Missing"), nullptr);
  EXPECT_EQ(dialog->GetNodeForID("Popup"), dialog->GetNodeForID("Popup"));
  EXPECT_EQ(dialog->GetNodeForID("Action")->GetID(), "Action");
  EXPECT_EQ(dialog->GetWidget()->windowTitle(), QString("Sample Title"));
}

TEST_F(NoxuiDialog, AControlOfAnotherTypeIsAnInvalidTypeConversion) {
  auto dialog = Make();
  EXPECT_EQ(ErrorOf([&] { dialog->GetTypedControlForID<UI_Button>("Popup"); }),
            u"Invalid type conversion.");
  EXPECT_EQ(ErrorOf([&] { dialog->GetTypedControlForID<UI_Popup>("OK"); }),
            u"Invalid type conversion.");
  EXPECT_EQ(ErrorOf([&] { dialog->GetTypedControlForID<UI_Button>("Missing"); }),
            u"Invalid type conversion.");
}

TEST_F(NoxuiDialog, TheAdapterPassesOnlyItsMessageType) {
  auto dialog = Make();
  auto button = dialog->GetTypedControlForID<UI_Button>("Action");
  Recorder recorder;
  recorder.Listen(*button);
  UI_InteractiveControlChangedMessage changed(button.get(), controls::kClicked);
  button->SendChangedMessage(changed);
  ASSERT_EQ(recorder.changes.size(), 1u);
  EXPECT_EQ(recorder.changes[0].first, button.get());
  struct OtherMessage : ui::UI_Message {};
  OtherMessage other;
  EXPECT_EQ(ErrorOf([&] { button->SendChangedMessage(other); }), u"Invalid type conversion.");
  EXPECT_EQ(recorder.changes.size(), 1u);
}

TEST_F(NoxuiDialog, AClickSendsChangeMessageTwoAndAChoiceSendsOne) {
  auto dialog = Make();
  auto button = dialog->GetTypedControlForID<UI_Button>("Action");
  auto popup = dialog->GetTypedControlForID<UI_Popup>("Popup");
  Recorder recorder;
  recorder.Listen(*button);
  recorder.Listen(*popup);
  popup->AddItem(u"one");
  popup->AddItem(u"two");
  QTest::mouseClick(button->GetWidget(), Qt::LeftButton);
  popup->Choose(1);
  ASSERT_EQ(recorder.changes.size(), 2u);
  EXPECT_EQ(recorder.changes[0],
            std::make_pair(static_cast<controls::UI_InteractiveControlView*>(button.get()), 2));
  EXPECT_EQ(recorder.changes[1],
            std::make_pair(static_cast<controls::UI_InteractiveControlView*>(popup.get()), 1));
}

TEST_F(NoxuiDialog, APopupStartsWithoutAChoiceAndNumbersItsItems) {
  auto dialog = Make();
  auto popup = dialog->GetTypedControlForID<UI_Popup>("Popup");
  EXPECT_EQ(popup->AddItem(u"aac"), 0);
  EXPECT_EQ(popup->AddItem(u"alac"), 1);
  EXPECT_EQ(popup->GetValue(), -1);
  popup->SetValue(1);
  EXPECT_EQ(popup->GetValue(), 1);
  EXPECT_EQ(popup->AddItem(u"mp3"), 2);
  EXPECT_EQ(popup->GetValue(), 1);
  EXPECT_EQ(popup->GetItemText(2), u"mp3");
  popup->SetValue(7);
  EXPECT_EQ(popup->GetValue(), -1);
}

TEST_F(NoxuiDialog, CheckStyleSwitchesBetweenTheMenuAndAPlainList) {
  auto dialog = Make();
  auto popup = dialog->GetTypedControlForID<UI_Popup>("Popup");
  auto* combo = qobject_cast<QComboBox*>(popup->GetWidget());
  QAbstractItemDelegate* menu = combo->itemDelegate();
  popup->SetItemCheckStyle(controls::kNoCheckMark);
  EXPECT_NE(combo->itemDelegate(), menu);
  popup->SetItemCheckStyle(controls::kCheckMarkOnValue);
  EXPECT_EQ(combo->itemDelegate(), menu);
  EXPECT_EQ(popup->GetItemCheckStyle(), controls::kCheckMarkOnValue);
}

TEST_F(NoxuiDialog, ControlSizesScaleTheFont) {
  auto dialog = Make();
  auto popup = dialog->GetTypedControlForID<UI_Popup>("Popup");
  const double regular = QApplication::font(popup->GetWidget()).pointSizeF();
  popup->SetControlSize(controls::kSmallSize);
  EXPECT_LT(popup->GetWidget()->font().pointSizeF(), regular);
  popup->SetControlSize(controls::kRegularSize);
  EXPECT_DOUBLE_EQ(popup->GetWidget()->font().pointSizeF(), regular);
}

TEST_F(NoxuiDialog, FramesAreThoseOfTheResourceAndCanBeSet) {
  auto dialog = Make();
  auto ok = dialog->GetNodeForID("OK");
  EXPECT_EQ(ok->GetFrame(ui::kFrameInParent), (ui::Rect{200, 60, 290, 88}));
  EXPECT_EQ(ok->GetFrame(ui::kFrameInWindow), (ui::Rect{200, 60, 290, 88}));
  ok->SetFrame(ui::Rect{10, 50, 100, 78});
  EXPECT_EQ(ok->GetFrame(ui::kFrameInParent), (ui::Rect{10, 50, 100, 78}));
  EXPECT_EQ(dialog->GetFrame(ui::kFrameInParent).Width(), 300);
}

TEST_F(NoxuiDialog, ScriptedOkEndsWithOneAndCancelWithTwo) {
  auto dialog = MakeWithButtons();
  DialogScript::Get().AddRun("Sample", {Click("OK")});
  DialogScript::Get().AddRun("Sample", {Click("Cancel")});
  EXPECT_EQ(dialog->RunModal(), ui::kDialogOK);
  EXPECT_EQ(dialog->RunModal(), ui::kDialogCancel);
  // Scripted mode with no run left: nobody can answer, so the dialog is cancelled at once.
  EXPECT_EQ(dialog->RunModal(), ui::kDialogCancel);
}

TEST_F(NoxuiDialog, ScriptedChoicesReachThePopupAsTheUsersWould) {
  auto dialog = MakeWithButtons();
  auto popup = dialog->GetTypedControlForID<UI_Popup>("Popup");
  Recorder recorder;
  recorder.Listen(*popup);
  for (const char16_t* text : {u"lpcm", u"aac", u"alac"}) popup->AddItem(text);
  std::string error;
  ASSERT_TRUE(DialogScript::Get().AddRuns("Sample: Popup=AAC, OK; Sample: Popup=#2, OK", error))
      << error;
  EXPECT_EQ(dialog->RunModal(), ui::kDialogOK);
  EXPECT_EQ(popup->GetValue(), 1);
  EXPECT_EQ(dialog->RunModal(), ui::kDialogOK);
  EXPECT_EQ(popup->GetValue(), 2);
  EXPECT_EQ(recorder.changes.size(), 2u);
}

TEST_F(NoxuiDialog, AHostLearnsTheTextOfTheItemItsScriptChoseByNumber) {
  auto dialog = MakeWithButtons();
  auto popup = dialog->GetTypedControlForID<UI_Popup>("Popup");
  for (const char16_t* text : {u"lpcm", u"aac", u"alac"}) popup->AddItem(text);
  EXPECT_EQ(DialogScript::Get().Chosen("Popup"), u"");
  std::string error;
  ASSERT_TRUE(DialogScript::Get().AddRuns("Sample: Popup=#2, Cancel", error)) << error;
  EXPECT_EQ(dialog->RunModal(), ui::kDialogCancel);
  EXPECT_EQ(DialogScript::Get().Chosen("Popup"), u"alac");
  DialogScript::Get().Clear();
  EXPECT_EQ(DialogScript::Get().Chosen("Popup"), u"");
}

TEST_F(NoxuiDialog, AScriptThatDoesNotCloseTheDialogCancelsIt) {
  auto dialog = MakeWithButtons();
  DialogScript::Get().AddRun("Sample", {Click("Action")});
  EXPECT_EQ(dialog->RunModal(), ui::kDialogCancel);
}

TEST_F(NoxuiDialog, ScriptErrorsNameTheDialogAndTheControl) {
  auto dialog = MakeWithButtons();
  dialog->GetTypedControlForID<UI_Popup>("Popup")->AddItem(u"aac");
  DialogScript::Get().AddRun("Sample", {Click("Nothing")});
  EXPECT_EQ(ErrorOf([&] { dialog->RunModal(); }),
            u"The dialog \"Sample\" has no control \"Nothing\".");
  std::string error;
  ASSERT_TRUE(DialogScript::Get().AddRuns("Sample: Popup=flac", error));
  EXPECT_EQ(ErrorOf([&] { dialog->RunModal(); }),
            u"The popup \"Popup\" of the dialog \"Sample\" has no item \"flac\".");
  ASSERT_TRUE(DialogScript::Get().AddRuns("Sample: Popup=#3", error));
  EXPECT_EQ(ErrorOf([&] { dialog->RunModal(); }),
            u"The popup \"Popup\" of the dialog \"Sample\" has no item \"#3\".");
  DialogScript::Get().AddRun("Sample", {Click("Popup")});
  EXPECT_EQ(ErrorOf([&] { dialog->RunModal(); }), u"Invalid type conversion.");
}

TEST(DialogScriptText, ParsesRunsAndSteps) {
  DialogScript& script = DialogScript::Get();
  std::string error;
  ASSERT_TRUE(script.AddRuns(" A: Popup=#3 , Go ;B:Popup = mp3,OK;", error)) << error;
  std::vector<ScriptStep> steps;
  ASSERT_TRUE(script.TakeRun("A", steps));
  ASSERT_EQ(steps.size(), 2u);
  EXPECT_EQ(steps[0], (ScriptStep{"Popup", ScriptStep::kChooseIndex, 3, u""}));
  EXPECT_EQ(steps[1], (ScriptStep{"Go", ScriptStep::kClick, 0, u""}));
  ASSERT_TRUE(script.TakeRun("B", steps));
  EXPECT_EQ(steps[0], (ScriptStep{"Popup", ScriptStep::kChooseText, 0, u"mp3"}));
  EXPECT_FALSE(script.TakeRun("B", steps));
  EXPECT_TRUE(script.IsActive());
  script.Clear();
  EXPECT_FALSE(script.IsActive());
}

TEST(DialogScriptText, MalformedTextQueuesNothing) {
  DialogScript& script = DialogScript::Get();
  std::string error;
  EXPECT_FALSE(script.AddRuns("A: OK; no dialog name", error));
  EXPECT_EQ(error, "a run without a dialog name in \"no dialog name\"");
  EXPECT_FALSE(script.AddRuns("A: Popup=#x", error));
  EXPECT_EQ(error, "not an item number: \"#x\"");
  EXPECT_FALSE(script.AddRuns("A: =3", error));
  EXPECT_FALSE(script.AddRuns("  ", error));
  EXPECT_FALSE(script.IsActive());
  std::vector<ScriptStep> steps;
  EXPECT_FALSE(script.TakeRun("A", steps));
}

TEST_F(NoxuiDialog, MissingOrWrongResourcesAreHostErrors) {
  EXPECT_EQ(ErrorOf([&] { Make("Absent"); }),
            u"The dialog resource \"Absent\" could not be found.");
  EXPECT_EQ(ErrorOf([&] { Make("NotADialog"); }),
            u"The dialog resource \"NotADialog\" does not hold a dialog.");
  EXPECT_EQ(ErrorOf([&] {
              ui::UI_ArchivedDialog(nullptr, nullptr, "Sample", u"", nullptr, true, false,
                                    ui::Point{}, {});
            }),
            u"The dialog resource \"Sample\" could not be found.");
}

TEST_F(NoxuiDialog, TheParentWindowOwnsTheDialogWindowAndTheBuiltCallbackRuns) {
  ui::EnsureApplication();
  QWidget parent;
  int built = 0;
  ui::UI_ArchivedDialogPtr dialog(new ui::UI_ArchivedDialog(
      nullptr, bundle.Resources(), "Sample", u"", &parent, true, false, ui::Point{},
      [&built](ui::UI_ArchivedDialog& made) { built += made.GetNodeForID("OK") ? 1 : 100; }));
  EXPECT_EQ(dialog->GetWidget()->parentWidget(), &parent);
  EXPECT_TRUE(dialog->GetWidget()->isWindow());
  EXPECT_EQ(built, 1);
}

TEST_F(NoxuiDialog, ClickingTheRealButtonsEndsTheModalRun) {
  auto dialog = MakeWithButtons();
  QWidget* ok = dialog->GetNodeForID("OK")->GetWidget();
  QTimer::singleShot(0, [ok] { QTest::mouseClick(ok, Qt::LeftButton); });
  EXPECT_EQ(dialog->RunModal(), ui::kDialogOK);

  QWidget* cancel = dialog->GetNodeForID("Cancel")->GetWidget();
  QTimer::singleShot(0, [cancel] { QTest::mouseClick(cancel, Qt::LeftButton); });
  EXPECT_EQ(dialog->RunModal(), ui::kDialogCancel);

  QWidget* window = dialog->GetWidget();
  QTimer::singleShot(0, [window] { QTest::keyClick(window, Qt::Key_Escape); });
  EXPECT_EQ(dialog->RunModal(), ui::kDialogCancel);

  QTimer::singleShot(0, [window] { QTest::keyClick(window, Qt::Key_Return); });
  EXPECT_EQ(dialog->RunModal(), ui::kDialogOK);
}

TEST_F(NoxuiDialog, AHandlerErrorDuringAClickEndsTheRunAndIsRaisedAfterIt) {
  auto dialog = MakeWithButtons();
  auto action = dialog->GetTypedControlForID<UI_Button>("Action");
  action->NotifyWhenChangedInteractively(
      std::make_unique<ui::MessageFunctionAdapter<UI_InteractiveControlChangedMessage>>(
          [](UI_InteractiveControlChangedMessage*) { ui::ThrowInvalidTypeConversion(); }));
  QWidget* widget = action->GetWidget();
  QTimer::singleShot(0, [widget] { QTest::mouseClick(widget, Qt::LeftButton); });
  EXPECT_EQ(ErrorOf([&] { dialog->RunModal(); }), u"Invalid type conversion.");
  EXPECT_FALSE(dialog->GetWidget()->isVisible());
  // The error belongs to that run only.
  QWidget* ok = dialog->GetNodeForID("OK")->GetWidget();
  QTimer::singleShot(0, [ok] { QTest::mouseClick(ok, Qt::LeftButton); });
  EXPECT_EQ(dialog->RunModal(), ui::kDialogOK);
}

TEST_F(NoxuiDialog, DialogsRequestedFromAnotherThreadAreRefused) {
  ui::EnsureApplication();
  std::u16string made;
  std::thread([&] { made = ErrorOf([&] { Make(); }); }).join();
  EXPECT_EQ(made, u"The dialog \"Sample\" can only be shown on the application's main thread.");
  auto dialog = MakeWithButtons();
  std::u16string run;
  std::thread([&] { run = ErrorOf([&] { dialog->RunModal(); }); }).join();
  EXPECT_EQ(run,
            u"The dialog \"Sample Title\" can only be shown on the application's main thread.");
}

TEST_F(NoxuiDialog, NodesOutliveTheirDialogSafely) {
  ui::UI_NodePtr ok;
  {
    auto dialog = Make();
    ok = dialog->GetNodeForID("OK");
  }
  EXPECT_EQ(ok->GetWidget(), nullptr);
  EXPECT_EQ(ok->GetID(), "");
  EXPECT_EQ(ok->GetFrame(ui::kFrameInParent), ui::Rect{});
  ok->SetFrame(ui::Rect{1, 2, 3, 4});
}

}  // namespace
