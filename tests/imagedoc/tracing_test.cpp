// Tracing as the tool's click asks for it.

#include "support/imagedoctest.h"

namespace tarnvisor {
namespace {

class Tracing : public ImageDocument {
 protected:
  // A dark line along row 30 and another along row 70, both over the whole width.
  ZBasicDoc& makeVessels(int32_t colourset = kGrey) {
    auto* d = static_cast<ZBasicDoc*>(process.imageTemplate->newDocument());
    d->image = std::make_unique<CZZimage>(120, 100, -1, 0, colourset);
    d->image->fill(200);
    for (const int32_t y : {30, 70}) std::memset(d->image->row(y), 60, 120);
    d->setModified(false);
    return *d;
  }
};

TEST_F(Tracing, TheWindowIsReadAtEachClickAndThePercentageHasNoEffect) {
  ZBasicDoc& d = makeVessels();
  // A ground that brightens by one a column, with a vessel that is always 40 darker.
  for (int32_t y = 0; y < 100; ++y)
    for (int32_t x = 0; x < 120; ++x) d.image->row(y)[x] = static_cast<uint8_t>(120 + x - (y == 30 ? 40 : 0));
  const auto tracedWith = [&](const std::string& keys) {
    writeSettings("[ProcessingArgs]\n" + keys);
    EXPECT_TRUE(d.trace({0, 30}));
    const int64_t count = d.theImage()->countValue(0);
    run("Undo");
    return count;
  };
  const int64_t whole = tracedWith("tracewin=0\n");
  EXPECT_EQ(tracedWith("tracewin=8\n"), 120);
  EXPECT_GT(whole, 120) << "one threshold for all takes the dark ground along";
  EXPECT_EQ(tracedWith("tracewin=0\ntracethreshold=-90\n"), whole);
  EXPECT_EQ(tracedWith("tracethreshold=400\n"), tracedWith("tracewin=100\n"));
}

TEST_F(Tracing, WithoutAGreyPixelUnderTheClickNothingHappens) {
  ZBasicDoc& d = makeVessels();
  d.roi = {20, 10, 60, 90};
  for (const Point seed : {Point{40, 0}, {0, 80}, {-1, 0}}) EXPECT_FALSE(d.trace(seed));
  EXPECT_FALSE(d.isModified());
  EXPECT_EQ(d.undoimage(), nullptr);
  ZBasicDoc& coloured = makeVessels(kColour);
  EXPECT_FALSE(coloured.trace({5, 5}));
  EXPECT_EQ(host.messages.back(), "Only a grey image can be traced.");
  EXPECT_FALSE(coloured.isModified());
  EXPECT_FALSE(static_cast<ZBasicDoc*>(process.imageTemplate->newDocument())->trace({0, 0}));
}

}  // namespace
}  // namespace tarnvisor
