// Where a virtual unit is in focus.
#include "scenario.h"

#include "optics/lens_curves.h"

#include <algorithm>

using namespace scenario;

constexpr int kWide = 10216;
constexpr int kTele = 20488;

TEST(Optics, built_in_curves_are_the_librarys) {
    vcam::CameraOptions options;
    options.builtInCurves = true;
    run(options, [] {
        Lens_Init_FLineInfo();
        int zoom = kWide;
        for (int tag = 0; tag < 16; tag++) {
            const int lastSections[] = {768, 512, 320, 224, 0};
            const int section = lastSections[std::max(0, tag - 11)];
            for (int quarter = 0; quarter < (tag < 15 ? 4 : 1); quarter++)
                EXPECT_EQ(vcam::inFocusPositionAt(zoom + quarter * section / 4, 0),
                          g_FLineInfo.tagPosition[tag][quarter])
                    << "tag " << tag << ", quarter " << quarter;
            zoom += section;
        }
        EXPECT_EQ(vcam::inFocusPositionAt(kWide, 0.5), 12212); // an object at 2 m
        EXPECT_EQ(vcam::inFocusPositionAt(kTele, 0.5), 12122);
    });
}
