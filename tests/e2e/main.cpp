// The end-to-end tests drive the application from the outside; they need an event loop of their
// own for the buses they serve (the tray host, logind) and for waiting.
#include <gtest/gtest.h>

#include <QCoreApplication>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
