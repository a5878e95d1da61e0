#include "doppler/dopplerinput.h"

#include <algorithm>

#include "app/asked.h"
#include "base/text.h"
#include "host/host.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kSection = "flo1";  // of the computer's settings
constexpr const char* kOwnChoice = "The system's choice";
constexpr const char* kFile = "A sound file";

std::unique_ptr<SoundDriver> openBySettings(std::string&) {
  return openSoundInput(hwSettings.getString(kSection, "input", ""));
}

}  // namespace

DopplerInput* dopplerInput() { return dynamic_cast<DopplerInput*>(theApp().velocityInput); }

DopplerInput::DopplerInput(CBasicApp& application, FLO1::Opener opener)
    : flo1(opener ? std::move(opener) : FLO1::Opener(&openBySettings)), app(application) {
  flo1.setOnNews([this] { app.loop.wakeFromAnyThread(); });
  app.velocityInput = this;
}

DopplerInput::~DopplerInput() {
  flo1.closeaudio();
  if (app.velocityInput == this) app.velocityInput = nullptr;
}

void DopplerInput::initialise(int32_t channels) {
  auxiliaryChannels = std::clamp(channels, 0, static_cast<int32_t>(kAuxiliaryChannels));
  flo1.init();
  const std::string line = hwSettings.getString(kSection, "line", "");
  std::string why;
  if (!line.empty() && !auxiliary) auxiliary = openSerialLine(line, why);
  if (!why.empty()) logPrintf("%s\n", why.c_str());
}

bool DopplerInput::endsByItself() const {
  return hwSettings.getString(kSection, "input", "").starts_with(kSoundFile);
}

int32_t DopplerInput::availableSamples() {
  if (flo1.blockready()) return static_cast<int32_t>(FLO1::kSamplesTaken);
  const auto tell = onLost;  // which ends the recording, and with it what was to be called
  if (const auto why = flo1.takeLost(); why && tell) tell(*why);
  return 0;
}

int32_t DopplerInput::read(std::span<int16_t> buffer) {
  if (buffer.size() < FLO1::kSamplesTaken) return 0;
  const auto block = buffer.first<FLO1::kSamplesTaken>();
  return flo1.getalldata(block) ? static_cast<int32_t>(block.size()) : 0;
}

void DopplerInput::chooseHardware() {
  const std::string before = hwSettings.getString(kSection, "input", "");
  std::vector<SoundChoice> inputs{{"", kOwnChoice}};
  for (SoundChoice& each : findSoundInputs()) inputs.push_back(std::move(each));
  std::string file, line = hwSettings.getString(kSection, "line", "");
  if (before.starts_with(kSoundFile)) file = before.substr(std::string(kSoundFile).size());
  inputs.push_back({kSoundFile, kFile});
  int32_t chosen = 0, address = hwSettings.getInt(kSection, "address", 768);
  std::vector<std::string> words;
  for (size_t i = 0; i < inputs.size(); ++i) {
    words.push_back(inputs[i].words);
    if (inputs[i].id == before || (!file.empty() && inputs[i].id == kSoundFile))
      chosen = static_cast<int32_t>(i);
  }
  Form form("Hardware settings");
  form.addChoice("sound input", chosen, words);
  form.addFile("sound file", file, "Sound files (*.wav;*.raw)|*.wav;*.raw|All Files (*.*)|*.*||");
  form.add("serial line", line);
  form.add("address", address, {0, 65535});
  form.addNote("An input that is found only now is there from the next start of the program on.");
  if (!asked(form)) return;
  std::string id =
      inputs[static_cast<size_t>(std::clamp<int32_t>(chosen, 0, static_cast<int32_t>(inputs.size()) - 1))].id;
  if (id == kSoundFile) id += file;
  hwSettings.setString(kSection, "input", id);
  hwSettings.setString(kSection, "line", line);
  hwSettings.setInt(kSection, "address", address);
  if (id != before && app.flo1View) app.flo1View->stop();
  if (id != before) flo1.closeaudio();  // Run opens the other
  std::string why;
  auxiliary = line.empty() ? nullptr : openSerialLine(line, why);
  if (!why.empty()) host().messages.show(why, Buttons::Ok, Icon::Warning);
}

}  // namespace tarnvisor
