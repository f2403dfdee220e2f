// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QTest>

#include <functional>
#include <string_view>

namespace vantrel::test {

/// The application object that a test needs while it runs.
enum class ApplicationKind {
    Core,   ///< QCoreApplication
    Widgets ///< QApplication
};

/// One test of a test program. The tests of a folder are one program; each registers itself before
/// main() runs, and main() runs the one that its first argument names.
class RegisteredTest
{
public:
    using Run = std::function<int(int argc, char **argv)>;

    /// `sourceFile` is the path of the file that holds the test: "tests/link/tst_bytes.cpp"
    /// registers the name "tst_bytes".
    RegisteredTest(std::string_view sourceFile, ApplicationKind application, Run run);

    std::string_view name;
    ApplicationKind application;
    Run run;
};

} // namespace vantrel::test

#define VANTREL_REGISTER_TEST(TestClass, Kind)                                                     \
    static const vantrel::test::RegisteredTest registered##TestClass(                              \
        __FILE__, vantrel::test::ApplicationKind::Kind, [](int argc, char **argv) {                \
            TestClass test;                                                                        \
            return QTest::qExec(&test, argc, argv);                                                \
        });

/// Registers a test class that needs no window.
#define VANTREL_TEST(TestClass) VANTREL_REGISTER_TEST(TestClass, Core)

/// Registers a test class that shows windows.
#define VANTREL_WINDOW_TEST(TestClass) VANTREL_REGISTER_TEST(TestClass, Widgets)
