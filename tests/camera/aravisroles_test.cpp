#include "aravisroles.h"

#include "base/text.h"
#include "support/tempfolder.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

// A description of features, each in a place of its own in the camera's memory.
class Description {
 public:
  void add(const std::string& kind, const std::string& name, const std::string& more) {
    const bool isReal = kind == "Float";
    const char* place = isReal ? "FloatReg" : "IntReg";
    nodes += format("<%s Name=\"%s\"><pValue>%sPlace</pValue>%s</%s>", kind.c_str(), name.c_str(),
                    name.c_str(), more.c_str(), kind.c_str());
    nodes += format(
        "<%s Name=\"%sPlace\"><Address>%d</Address><Length>%d</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort><Endianess>BigEndian</Endianess></%s>",
        place, name.c_str(), address += 16, isReal ? 8 : 4, place);
  }
  void add(const std::string& name, const std::vector<std::string>& choices) {
    std::string entries;
    for (size_t i = 0; i < choices.size(); ++i)
      entries += format("<EnumEntry Name=\"%s\"><Value>%zu</Value></EnumEntry>", choices[i].c_str(), i);
    add("Enumeration", name, entries);
  }
  // The library's own description with these before it.
  std::string whole() const {
    const Owned<ArvFakeCamera> plain(arv_fake_camera_new("T0"));
    size_t size = 0;
    const char* told = arv_fake_camera_get_genicam_xml(plain.get(), &size);
    std::string text(told, size);
    return text.insert(text.find("<Port "), nodes);
  }

 private:
  std::string nodes;
  int address = 0x8000;
};

class CameraRoles : public testing::Test {
 protected:
  void describe(const std::string& description) {
    std::ofstream(folder.file("it.xml")) << description;
    arv_set_fake_camera_genicam_filename(folder.file("it.xml").c_str());
    GError* error = nullptr;
    const Owned<ArvDevice> device(arv_fake_device_new("1", &error));
    features =
        std::make_unique<AravisFeatures>(Owned<ArvCamera>(arv_camera_new_with_device(device.get(), &error)));
    arv_set_fake_camera_genicam_filename(nullptr);
  }
  void expect(CameraRole role, double wanted, double got) {
    EXPECT_TRUE(roles->set(role, wanted)) << nameOf(role);
    EXPECT_DOUBLE_EQ(roles->value(role).value_or(-1), got) << nameOf(role);
  }

  TempFolder folder;
  std::unique_ptr<AravisFeatures> features;
  std::unique_ptr<AravisRoles> roles;
};

TEST_F(CameraRoles, takeTheNearestSettingAndTellIt) {
  describe(Description().whole());
  ASSERT_TRUE(settle(*features));
  roles = std::make_unique<AravisRoles>(*features);
  EXPECT_EQ(roles->area(), (Rect{0, 0, 2048, 2048}));
  EXPECT_TRUE(roles->setArea({100, 50, 3000, 178}));
  EXPECT_EQ(roles->area(), (Rect{100, 50, 2048, 178}));
  EXPECT_FALSE(roles->setArea({3000, 0, 3100, 10}));
  expect(CameraRole::Exposure, 4321, 4321);
  expect(CameraRole::Exposure, 1, 10);
  expect(CameraRole::Gain, 99, 10);
  expect(CameraRole::FrameRate, 50, 50);
  expect(CameraRole::SoftwareTrigger, 1, 1);
  expect(CameraRole::Binning, 2, 2);
  EXPECT_EQ(roles->area(), (Rect{0, 0, 1024, 1024}));
  EXPECT_FALSE(roles->range(CameraRole::Strobe));
  EXPECT_EQ(roles->set(CameraRole::StrobeEnd, 1).why(), "The camera has no strobe end to set.");
}

TEST_F(CameraRoles, haveUnitsOfTheirOwn) {
  Description rich;
  rich.add("Float", "Gain", "<Min>0</Min><Max>20</Max><Unit>dB</Unit>");
  rich.add("Integer", "DeviceClockFrequency", "<Min>10000000</Min><Max>80000000</Max><Inc>1000000</Inc>");
  rich.add("Boolean", "ReverseX", "<OnValue>1</OnValue><OffValue>0</OffValue>");
  describe(rich.whole());
  roles = std::make_unique<AravisRoles>(*features);
  expect(CameraRole::Gain, 2, 2);
  EXPECT_DOUBLE_EQ(roles->range(CameraRole::Gain).value_or(CameraRange{}).high, 10);
  expect(CameraRole::PixelClock, 35.2, 35);
  expect(CameraRole::MirrorLeftRight, 1, 1);
}

TEST_F(CameraRoles, letTheStrobeEndWithTheExposure) {
  Description strobe;
  strobe.add("LineSelector", {"Line0", "Line1"});
  strobe.add("LineMode", {"Output", "Input"});
  strobe.add("LineSource", {"Off", "ExposureActive", "Timer1Active"});
  strobe.add("TimerSelector", {"Timer1"});
  strobe.add("TimerTriggerSource", {"Off", "ExposureStart"});
  strobe.add("Float", "TimerDelay", "<Min>0</Min><Max>1000</Max>");
  strobe.add("Float", "TimerDuration", "<Min>10</Min><Max>20000</Max>");
  describe(strobe.whole());
  roles = std::make_unique<AravisRoles>(*features);
  EXPECT_EQ(roles->value(CameraRole::Strobe), 0);
  expect(CameraRole::Strobe, 1, 1);
  EXPECT_EQ(features->chosen("LineSource"), "Timer1Active");
  EXPECT_EQ(features->chosen("TimerTriggerSource"), "ExposureStart");
  expect(CameraRole::Exposure, 5000, 5000);
  expect(CameraRole::StrobeStart, 100, 100);
  expect(CameraRole::StrobeEnd, -200, -200);
  expect(CameraRole::Exposure, 8000, 8000);
  EXPECT_EQ(features->number("TimerDuration"), 7700);
  expect(CameraRole::StrobeStart, 300, 300);
  EXPECT_EQ(features->number("TimerDuration"), 7500);
  EXPECT_DOUBLE_EQ(roles->range(CameraRole::StrobeEnd).value_or(CameraRange{}).low, -7690);
}

TEST_F(CameraRoles, areNotForColour) {
  std::string colour = Description().whole();
  colour.replace(colour.find("\"Mono8\""), 7, "\"BayerXX8\"");
  describe(colour);
  EXPECT_EQ(settle(*features).why(), "The camera gives no grey images of 8 bits a pixel.");
}

}  // namespace
}  // namespace tarnvisor
