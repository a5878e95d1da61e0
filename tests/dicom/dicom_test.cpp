#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>
#include <dcmtk/dcmjpeg/djencode.h>

#include "base/files.h"
#include "dicom/dicomreader.h"
#include "dicom/dicomwriter.h"
#include "support/tempfolder.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

using Values = std::vector<int>;

class DicomTest : public ::testing::Test {
 protected:
  // A file as another program writes it, of two pixels in a row.
  std::string write(const std::function<void(DcmDataset&)>& change,
                    E_TransferSyntax coding = EXS_LittleEndianExplicit) {
    DcmFileFormat whole;
    DcmDataset& set = *whole.getDataset();
    set.putAndInsertString(DCM_SOPClassUID, UID_SecondaryCaptureImageStorage);
    set.putAndInsertString(DCM_SOPInstanceUID, "1.2.3");
    set.putAndInsertString(DCM_PhotometricInterpretation, "MONOCHROME2");
    for (const auto& [tag, value] :
         std::initializer_list<std::pair<DcmTagKey, Uint16>>{{DCM_Rows, 1},
                                                             {DCM_Columns, 2},
                                                             {DCM_SamplesPerPixel, 1},
                                                             {DCM_BitsAllocated, 8},
                                                             {DCM_BitsStored, 8},
                                                             {DCM_HighBit, 7},
                                                             {DCM_PixelRepresentation, 0}})
      set.putAndInsertUint16(tag, value);
    change(set);
    const std::string path = folder.file("a.dcm");
    EXPECT_TRUE(set.chooseRepresentation(coding, nullptr).good());
    EXPECT_TRUE(whole.saveFile(path.c_str(), coding).good());
    return path;
  }
  static void setPixels(DcmDataset& set, const Bytes& bytes) {
    set.putAndInsertUint8Array(DCM_PixelData, bytes.data(), bytes.size());
  }
  static void makeColour(DcmDataset& set, const char* kind, Uint16 planar) {
    set.putAndInsertString(DCM_PhotometricInterpretation, kind);
    set.putAndInsertUint16(DCM_SamplesPerPixel, 3);
    set.putAndInsertUint16(DCM_PlanarConfiguration, planar);
  }
  static void makeWide(DcmDataset& set, const std::vector<Uint16>& values) {
    set.putAndInsertUint16(DCM_BitsAllocated, 16);
    set.putAndInsertUint16(DCM_BitsStored, 12);
    set.putAndInsertUint16(DCM_HighBit, 11);
    set.putAndInsertUint16Array(DCM_PixelData, values.data(), values.size());
  }
  Values read(const std::string& path, int32_t index = 0) {
    const auto pictures = openDicom(path, why);
    CZZimage image;
    EXPECT_TRUE(pictures && pictures->read(index, image)) << why;
    return image.empty() ? Values{} : Values(image.row(0), image.row(0) + image.rowBytes);
  }
  std::string refusal(const std::string& path) {
    EXPECT_EQ(openDicom(path, why), nullptr);
    return why;
  }

  TempFolder folder;
  std::string why;
};

TEST_F(DicomTest, ReadsGreyAndColourOfEachKind) {
  EXPECT_EQ(read(write([](DcmDataset& s) { setPixels(s, {7, 200}); })), (Values{7, 200}));
  EXPECT_EQ(read(write([](DcmDataset& s) {
              setPixels(s, {7, 200});
              s.putAndInsertString(DCM_PhotometricInterpretation, "MONOCHROME1");
            })),
            (Values{248, 55}));
  EXPECT_EQ(read(write(
                [](DcmDataset& s) {
                  makeWide(s, {100, 4095 - 1000});
                },
                EXS_BigEndianExplicit)),
            (Values{0, 255}));
  const auto colour = [](const char* kind, Uint16 planar, Bytes bytes) {
    return [=](DcmDataset& s) {
      makeColour(s, kind, planar);
      setPixels(s, bytes);
    };
  };
  EXPECT_EQ(read(write(colour("RGB", 0, {1, 2, 3, 4, 5, 6}))), (Values{3, 2, 1, 6, 5, 4}));
  EXPECT_EQ(read(write(colour("RGB", 1, {1, 4, 2, 5, 3, 6}))), (Values{3, 2, 1, 6, 5, 4}));
  EXPECT_EQ(read(write(colour("YBR_FULL", 0, {76, 85, 255, 90, 128, 128}))), (Values{0, 0, 254, 90, 90, 90}));
}

TEST_F(DicomTest, SignedSamplesKeepTheirOrder) {
  EXPECT_EQ(read(write([](DcmDataset& s) {
              makeWide(s, {0xfff0, 16});
              s.putAndInsertUint16(DCM_PixelRepresentation, 1);
            })),
            (Values{0, 255}));
}

TEST_F(DicomTest, TellsTheStoredLevelsThatWereStretched) {
  for (const bool isInverted : {false, true}) {
    const auto pictures = openDicom(write([&](DcmDataset& s) {
                                      makeWide(s, {static_cast<Uint16>(-456 & 0xfff), 496});
                                      s.putAndInsertUint16(DCM_PixelRepresentation, 1);
                                      if (isInverted)
                                        s.putAndInsertString(DCM_PhotometricInterpretation, "MONOCHROME1");
                                    }),
                                    why);
    ASSERT_NE(pictures, nullptr) << why;
    EXPECT_EQ(pictures->remarks().back(),
              isInverted ? "levels 496 to -456 became 0 to 255" : "levels -456 to 496 became 0 to 255");
  }
}

TEST_F(DicomTest, ReadsJpeg) {
  DJEncoderRegistration::registerCodecs();
  const std::string path = write(
      [](DcmDataset& s) {
        s.putAndInsertUint16(DCM_Rows, 8);
        s.putAndInsertUint16(DCM_Columns, 8);
        Bytes ramp(64);  // the encoder spreads the levels
        for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<uint8_t>(i % 8 * 255 / 7);
        setPixels(s, ramp);
      },
      EXS_JPEGProcess1);
  DJEncoderRegistration::cleanup();
  const Values pixels = read(path);
  ASSERT_EQ(pixels.size(), 8u);
  EXPECT_NEAR(pixels[3], 109, 8);
  std::string damaged = *readWholeText(path);
  damaged.replace(damaged.rfind("\xff\xd9") - 4, 4, "\xff\xd9\xff\xd9");  // where its last pixels were
  ASSERT_TRUE(replaceFile(path, std::string_view(damaged)));
  EXPECT_THAT(refusal(path), HasSubstr("damaged"));
}

TEST_F(DicomTest, TellsWhatItCantRead) {
  const std::string whole = write([](DcmDataset& s) { setPixels(s, Bytes(2, 1)); });
  const auto bytes = *readWholeText(whole);
  const auto changed = [&](const std::string& text) {
    EXPECT_TRUE(replaceFile(folder.file("b.dcm"), std::string_view(text)));
    return refusal(folder.file("b.dcm"));
  };
  std::string unknown = bytes;
  unknown.replace(unknown.find("1.2.840.10008.1.2.1"), 19, "1.2.840.10008.9.9.9");
  EXPECT_THAT(changed(unknown), HasSubstr("transfer syntax (1.2.840.10008.9.9.9) is not known"));
  EXPECT_NE(changed(bytes.substr(0, bytes.size() - 1)), "");
  EXPECT_NE(changed(bytes.substr(0, bytes.size() / 2)), "");
  EXPECT_NE(changed(""), "");
  EXPECT_THAT(refusal(write([](DcmDataset& s) {
                setPixels(s, Bytes(2, 1));
                s.putAndInsertUint16(DCM_Rows, 10000);
                s.putAndInsertUint16(DCM_Columns, 10000);
                s.putAndInsertString(DCM_NumberOfFrames, "2000000000");
              })),
              HasSubstr("fewer pixels"));
  EXPECT_THAT(refusal(write([](DcmDataset& s) {
                setPixels(s, Bytes(2, 1));
                s.putAndInsertString(DCM_PhotometricInterpretation, "PALETTE COLOR");
              })),
              HasSubstr("PALETTE COLOR"));
}

TEST_F(DicomTest, OfSeveralSpacingsTheCalibratedOneCounts) {
  const auto scaleOf = [&](const char* spacing) {
    const auto pictures = openDicom(write([&](DcmDataset& s) {
                                      setPixels(s, {1, 2});
                                      s.putAndInsertString(DCM_ImagerPixelSpacing, "0.5\\0.5");
                                      s.putAndInsertString(DCM_PixelSpacing, spacing);
                                    }),
                                    why);
    return pictures ? pictures->scale().x : -1;
  };
  EXPECT_DOUBLE_EQ(scaleOf("0.002\\0.001"), 1);
  EXPECT_DOUBLE_EQ(scaleOf("-1\\0"), 500);
}

TEST_F(DicomTest, SpacingThatAllPicturesShareCounts) {
  const auto pictures = openDicom(write([&](DcmDataset& s) {
                                    setPixels(s, {1, 2});
                                    DcmItem *shared = nullptr, *measures = nullptr;
                                    s.findOrCreateSequenceItem(DCM_SharedFunctionalGroupsSequence, shared);
                                    shared->findOrCreateSequenceItem(DCM_PixelMeasuresSequence, measures);
                                    measures->putAndInsertString(DCM_PixelSpacing, "0.003\\0.002");
                                  }),
                                  why);
  ASSERT_NE(pictures, nullptr) << why;
  EXPECT_DOUBLE_EQ(pictures->scale().x, 2);
}

TEST_F(DicomTest, WritesSequencesThatReadBack) {
  const DicomFacts facts{.subjectId = "a\\b",
                         .surname = "M\xc3\xbcller",
                         .pixelWidth = 2,
                         .pixelHeight = 3,
                         .frameSeconds = 0.04};
  const std::string path = folder.file("s.dcm");
  const auto writer = DicomWriter::create(path, facts, {3, 1}, true, 3, why);
  ASSERT_NE(writer, nullptr) << why;
  for (uint8_t k = 0; k < 3; ++k) {
    const Bytes row{k, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_TRUE(writer->write(row.data(), 9));
  }
  EXPECT_TRUE(writer->close());
  const auto pictures = openDicom(path, why);
  ASSERT_NE(pictures, nullptr) << why;
  EXPECT_EQ(pictures->frames(), 3);
  EXPECT_EQ(pictures->subject(), "a b");
  EXPECT_DOUBLE_EQ(pictures->scale().interval, 0.04);
  EXPECT_EQ(read(path, 2), (Values{2, 2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(dicomFrames(path), 3);
}

TEST_F(DicomTest, IdentifiersAreFreshAndOfTheirForm) {
  const std::string uid = freshDicomUid();
  EXPECT_TRUE(uid.starts_with("2.25."));
  EXPECT_EQ(uid.find_first_not_of("0123456789."), std::string::npos);
  EXPECT_LE(uid.size(), 44u);
  EXPECT_NE(uid, freshDicomUid());
  EXPECT_EQ(dicomUidOf("exam 1"), dicomUidOf("exam 1"));
  EXPECT_NE(dicomUidOf("exam 1"), dicomUidOf("exam 2"));
  EXPECT_TRUE(dicomUidOf("exam 1").starts_with("2.25."));
  EXPECT_EQ(dicomText("\xc3\xa4^\\x", 3), "\xc3\xa4  ");
}

TEST_F(DicomTest, OtherToolsOpenWhatIsWritten) {
  if (std::system("dcmdump --version > /dev/null 2>&1") != 0) GTEST_SKIP() << "dcmtk's tools are missing";
  CZZimage image(5, 3);
  image.fill(90);
  DicomFacts facts{.subjectId = "S-1", .study = "exam 1", .pixelWidth = 2, .pixelHeight = 3};
  const std::string path = folder.file("a.dcm"), text = folder.file("a.txt"), pgm = folder.file("a.pgm");
  ASSERT_TRUE(exportDicom(image, facts, path));
  EXPECT_EQ(std::system(("dcmdump " + path + " > " + text).c_str()), 0);
  const std::string dump = readWholeText(text).value_or("");
  EXPECT_THAT(dump, HasSubstr("[S-1]"));
  EXPECT_THAT(dump, HasSubstr("[0.003\\0.002]"));
  EXPECT_THAT(dump, Not(HasSubstr("FIDUCIAL")));
  EXPECT_THAT(dump, HasSubstr(dicomUidOf("exam 1\nS-1\n")));
  EXPECT_EQ(std::system(("dcm2pnm " + path + " " + pgm + " > /dev/null 2>&1").c_str()), 0);
  EXPECT_THAT(readWholeText(pgm).value_or(""), HasSubstr("5 3"));
}

}  // namespace
}  // namespace tarnvisor
