#include "image/toldscale.h"

#include "base/lengthunits.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

using Unit = TiffWords::Unit;

std::string ome(const std::string& attributes) {
  return "<?xml version=\"1.0\"?><!-- x --><o:OME xmlns:o=\"u\"><o:Image ID=\"a\"><o:Pixels SizeX=\"4\" "
         "SizeY=\"2\" " +
         attributes + "/></o:Image></o:OME>";
}
ToldScale described(const std::string& description, double resolution = 0) {
  return scaleOf({4, 2, description, resolution, resolution});
}
double resolved(double resolution, Unit unit) { return scaleOf({4, 2, "", resolution, resolution, unit}).x; }

TEST(LengthUnits, AreKnownInEverySpelling) {
  for (const char* name : {"um", "\xc2\xb5m", "\xce\xbcm", "\xb5m", "\\u00B5m", " Micron"})
    EXPECT_EQ(micrometresOf(name), 1) << name;
  EXPECT_EQ(micrometresOf("mm"), 1000);
  EXPECT_EQ(micrometresOf("pixel"), 0);
}

TEST(ToldScales, AreThoseOfOmeXmlInTheirUnits) {
  const ToldScale told =
      described(ome("PhysicalSizeX='0.0005' PhysicalSizeXUnit='mm' PhysicalSizeY='0.25' TimeIncrement='40' "
                    "TimeIncrementUnit='ms'"));
  EXPECT_DOUBLE_EQ(told.x, 0.5);
  EXPECT_DOUBLE_EQ(told.y, 0.25);
  EXPECT_DOUBLE_EQ(told.interval, 0.04);
  EXPECT_EQ(told.source, "OME-XML");
  EXPECT_DOUBLE_EQ(described(ome("PhysicalSizeX='2' PhysicalSizeXUnit='&#181;m'")).y, 2);
}

TEST(ToldScales, OfOmeXmlThatLiesAreNone) {
  for (const char* size : {"-1", "0", "nan", "inf", "1e300", "2 um", "2' PhysicalSizeXUnit='pixel"}) {
    const ToldScale told = described(ome("PhysicalSizeX='" + std::string(size) + "'"));
    EXPECT_FALSE(told.isTold()) << size;
    EXPECT_NE(told.doubt, "") << size;
  }
  const ToldScale other = scaleOf({5, 2, ome("PhysicalSizeX='2'"), 4000, 4000, Unit::Centimetre});
  EXPECT_FALSE(other.isTold());
  EXPECT_THAT(other.doubt, HasSubstr("another size"));
  EXPECT_FALSE(described("<OME><Pixels PhysicalSizeX='2'").isTold());
  EXPECT_FALSE(described("<x><Pixels SizeX='4' SizeY='2' PhysicalSizeX='2'/></x>").isTold());
}

TEST(ToldScales, AreThoseOfImageJ) {
  const ToldScale told = described("ImageJ=1.53t\nimages=3\nunit=micron\nyunit=mm\nfinterval=0.1\n", 4);
  EXPECT_DOUBLE_EQ(told.x, 0.25);
  EXPECT_DOUBLE_EQ(told.y, 250);
  EXPECT_DOUBLE_EQ(told.interval, 0.1);
  EXPECT_DOUBLE_EQ(described("ImageJ=1.53t\nfps=25.0\n").interval, 0.04);
  EXPECT_DOUBLE_EQ(described("ImageJ=1.53t\ntunit=ms\nfinterval=40\n").interval, 0.04);
  EXPECT_DOUBLE_EQ(described("ImageJ=1.53t\ntunit=Min\nfinterval=2\n").interval, 120);
  EXPECT_EQ(described("ImageJ=1.53t\nslices=9\nfps=25\n").interval, 0);
  EXPECT_DOUBLE_EQ(described(ome("TimeIncrement='40000' TimeIncrementUnit='\xc2\xb5s'")).interval, 0.04);
  EXPECT_FALSE(described("ImageJ=1.53t\nunit=pixel\n", 4).isTold());
  EXPECT_FALSE(described("ImageJ=1.53t\nunit=inch\n", 72).isTold());
}

TEST(ToldScales, OfResolutionsAreBelievedWhereSomebodyMeantThem) {
  EXPECT_DOUBLE_EQ(resolved(10160, Unit::Inch), 2.5);
  EXPECT_DOUBLE_EQ(resolved(100, Unit::Centimetre), 100);
  for (const double dots : {72.0, 72.009, 96.0, 150.0, 300.0, 2400.0}) {
    EXPECT_EQ(resolved(dots, Unit::Inch), 0) << dots;
    EXPECT_EQ(resolved(dots / 2.54, Unit::Centimetre), 0) << dots;
  }
  EXPECT_EQ(resolved(28, Unit::Centimetre), 0);
  EXPECT_EQ(resolved(10160, Unit::None), 0);
  EXPECT_EQ(resolved(1e12, Unit::Inch), 0);
}

}  // namespace
}  // namespace tarnvisor
