#include <QApplication>
#include <gtest/gtest.h>

// Windows are drawn into memory, at the desktop's ordinary scale.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
