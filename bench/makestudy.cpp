// Makes a study to measure with: simulated stills, the list of exams and the steps.
//
//   bench_makestudy FOLDER COUNT [SIDES]   COUNT exams of 640 x 512 (another width and height: "320x256")
//
// A hundred pictures are drawn, and named again and again by studies of more exams.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/files.h"
#include "base/text.h"
#include "image/imagefile.h"
#include "synth/nailfold.h"

int main(int argc, char** argv) {
  using namespace tarnvisor;
  constexpr int kPictures = 100;
  const int count = argc > 2 ? std::atoi(argv[2]) : 0;
  NailfoldStill still{.width = 640, .height = 512, .rows = 3};
  if (count < 1 || (argc > 3 && std::sscanf(argv[3], "%dx%d", &still.width, &still.height) != 2)) {
    std::fprintf(stderr, "usage: bench_makestudy FOLDER COUNT [640x512]\n");
    return 2;
  }
  const std::string folder = withSeparator(argv[1]);
  bool made = makeFolderPath(folder + "pictures");
  for (int i = 0; i < std::min(count, kPictures) && made; ++i) {
    still.seed = static_cast<uint64_t>(i) + 1;
    NailfoldTruth truth;
    const auto image = renderNailfold(still, truth);
    made = image && image->save(folder + format("pictures/%03i.bmp", i));
  }
  std::string list = "key,subject,site,comment,file,date,group\n";
  for (int i = 0; i < count; ++i)
    list += format("K%06i,P-%i,left ring finger,,pictures/%03i.bmp,2025-%02i-%02i,%c\n", i, i / 2,
                   i % kPictures, i % 12 + 1, i % 28 + 1, i % 2 ? 'a' : 'b');
  constexpr std::string_view kSteps =
      "open {file}\ncommand \"Find Capillaries\"\ncommand \"Calculate average of selection\"\nsave {key}.tv1\n";
  made = made && replaceFile(folder + "exams.csv", std::string_view(list)) &&
         replaceFile(folder + "steps.txt", kSteps);
  if (!made) std::fprintf(stderr, "%s can't be written\n", folder.c_str());
  return made ? 0 : 1;
}
