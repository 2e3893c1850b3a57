// The capture tests run inside a QCoreApplication so that queued delegate messages are delivered,
// with movie recording on, as in orvellactl.
#include <gtest/gtest.h>

#include <QCoreApplication>

#include "capture/MovieRecording.h"

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    orvella::capture::enableMovieRecording();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
