#include <noxcore/utility/Strings.h>
#include <noxui/ui/DialogScript.h>

#include <algorithm>
#include <cctype>
#include <charconv>

namespace noxui::ui {

namespace {

std::string Trim(std::string_view text) {
  const auto isSpace = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return std::string(text);
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> pieces;
  std::size_t start = 0;
  for (std::size_t end; (end = text.find(separator, start)) != std::string::npos; start = end + 1) {
    pieces.push_back(text.substr(start, end - start));
  }
  pieces.push_back(text.substr(start));
  return pieces;
}

bool ParseStep(const std::string& text, ScriptStep& step, std::string& error) {
  const std::size_t equals = text.find('=');
  step.controlID = Trim(text.substr(0, equals));
  if (step.controlID.empty()) {
    error = "a step without a control ID in \"" + text + "\"";
    return false;
  }
  if (equals == std::string::npos) {
    step.kind = ScriptStep::kClick;
    return true;
  }
  const std::string value = Trim(text.substr(equals + 1));
  if (!value.empty() && value.front() == '#') {
    const char* first = value.data() + 1;
    const char* last = value.data() + value.size();
    const auto [end, code] = std::from_chars(first, last, step.index);
    if (code != std::errc() || end != last || first == last) {
      error = "not an item number: \"" + value + "\"";
      return false;
    }
    step.kind = ScriptStep::kChooseIndex;
    return true;
  }
  if (value.empty() ||
      !std::all_of(value.begin(), value.end(), [](char c) { return c > 0 && c < 0x7f; })) {
    error = "not an item text: \"" + value + "\"";
    return false;
  }
  step.kind = ScriptStep::kChooseText;
  step.text = noxcore::utility::AsciiToUTF16(value);  // checked to be ASCII above
  return true;
}

}  // namespace

DialogScript& DialogScript::Get() {
  static DialogScript script;
  return script;
}

void DialogScript::AddRun(const std::string& name, std::vector<ScriptStep> steps) {
  std::lock_guard lock(mutex);
  runs[name].push_back(std::move(steps));
  active = true;
}

bool DialogScript::AddRuns(const std::string& text, std::string& error) {
  std::vector<std::pair<std::string, std::vector<ScriptStep>>> parsed;
  for (const std::string& run : Split(text, ';')) {
    if (Trim(run).empty()) continue;
    const std::size_t colon = run.find(':');
    const std::string name = Trim(run.substr(0, colon));
    if (colon == std::string::npos || name.empty()) {
      error = "a run without a dialog name in \"" + Trim(run) + "\"";
      return false;
    }
    std::vector<ScriptStep> steps;
    for (const std::string& piece : Split(run.substr(colon + 1), ',')) {
      if (Trim(piece).empty()) continue;
      ScriptStep step;
      if (!ParseStep(piece, step, error)) return false;
      steps.push_back(std::move(step));
    }
    parsed.emplace_back(name, std::move(steps));
  }
  if (parsed.empty()) {
    error = "no dialog runs in \"" + text + "\"";
    return false;
  }
  for (auto& [name, steps] : parsed) AddRun(name, std::move(steps));
  return true;
}

bool DialogScript::TakeRun(const std::string& name, std::vector<ScriptStep>& steps) {
  std::lock_guard lock(mutex);
  const auto found = runs.find(name);
  if (found == runs.end() || found->second.empty()) return false;
  steps = std::move(found->second.front());
  found->second.pop_front();
  return true;
}

bool DialogScript::IsActive() const {
  std::lock_guard lock(mutex);
  return active;
}

void DialogScript::Clear() {
  std::lock_guard lock(mutex);
  runs.clear();
  chosen.clear();
  active = false;
}

void DialogScript::NoteChosen(const std::string& controlID, std::u16string text) {
  std::lock_guard lock(mutex);
  chosen[controlID] = std::move(text);
}

std::u16string DialogScript::Chosen(const std::string& controlID) const {
  std::lock_guard lock(mutex);
  const auto found = chosen.find(controlID);
  return found != chosen.end() ? found->second : std::u16string();
}

}  // namespace noxui::ui
