// Scripted answers to dialogs, for hosts that automate and for tests: each modal run of a dialog
// whose resource has a run queued takes the next run and performs its steps on the controls in
// order, as a person would. While any script is set, a dialog with no run left is cancelled at
// once rather than waiting for a person who is not there.
//
// Text form: runs separated by ';', each "Resource: step, step, ...". A step is a control ID
// (clicks the button), "ID=#N" (chooses item N of a popup) or "ID=TEXT" (chooses the popup item
// showing TEXT). Example: "FormatOptions: ExportFormatPopupID=aac, OKButtonID".
#pragma once

#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace noxui::ui {

struct ScriptStep {
  enum Kind { kClick, kChooseIndex, kChooseText };
  std::string controlID;
  Kind kind = kClick;
  int index = 0;
  std::u16string text;
  bool operator==(const ScriptStep&) const = default;
};

class DialogScript {
 public:
  // The process's script.
  static DialogScript& Get();

  // Queues one run for the dialog resource `name`; runs of a resource are used in this order.
  void AddRun(const std::string& name, std::vector<ScriptStep> steps);
  // Parses the text form and queues its runs; on malformed text queues nothing and sets `error`.
  bool AddRuns(const std::string& text, std::string& error);
  // The next run for `name`; false when none is left.
  bool TakeRun(const std::string& name, std::vector<ScriptStep>& steps);
  // Whether dialogs are being answered by script (a run was queued since the last Clear).
  bool IsActive() const;
  // Forgets every run and what was chosen, and leaves scripted mode.
  void Clear();

  // Records the text of the item a script chose in the popup `controlID`, so that a host that
  // chose by number learns what it chose.
  void NoteChosen(const std::string& controlID, std::u16string text);
  // The text of the item last chosen by script in the popup `controlID`; empty if none.
  std::u16string Chosen(const std::string& controlID) const;

 private:
  mutable std::mutex mutex;
  std::map<std::string, std::deque<std::vector<ScriptStep>>> runs;
  bool active = false;
  std::map<std::string, std::u16string> chosen;
};

}  // namespace noxui::ui
