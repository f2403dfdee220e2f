// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestProgram.h"

#ifdef QT_WIDGETS_LIB
#include <QApplication>
#else
#include <QCoreApplication>
#endif

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vantrel::test {

namespace {

/// A function-local object: tests register themselves in any order before main() runs.
std::vector<RegisteredTest> &registeredTests()
{
    static std::vector<RegisteredTest> tests;
    return tests;
}

std::string_view baseName(std::string_view path)
{
    path.remove_prefix(path.rfind('/') + 1);
    return path.substr(0, path.rfind('.'));
}

std::unique_ptr<QCoreApplication> makeApplication(ApplicationKind kind, int &argc, char **argv)
{
    if (kind == ApplicationKind::Core)
        return std::make_unique<QCoreApplication>(argc, argv);
#ifdef QT_WIDGETS_LIB
    auto application = std::make_unique<QApplication>(argc, argv);
    QCoreApplication::setAttribute(Qt::AA_Use96Dpi, true);
    return application;
#else
    qFatal("A window test in a test program that does not link Qt Widgets");
#endif
}

void printUsage(const char *program)
{
    std::fprintf(stderr, "usage: %s TEST [QTEST-OPTION...]\nTests:\n", program);
    for (const RegisteredTest &test : registeredTests())
        std::fprintf(stderr, "  %s\n", std::string(test.name).c_str());
}

} // namespace

RegisteredTest::RegisteredTest(std::string_view sourceFile, ApplicationKind kind, Run function)
    : name(baseName(sourceFile)), application(kind), run(std::move(function))
{
    registeredTests().push_back(*this);
}

} // namespace vantrel::test

int main(int argc, char **argv)
{
    using namespace vantrel::test;

    const auto &tests = registeredTests();
    const std::string_view wanted = argc > 1 ? argv[1] : "";
    const auto test = std::ranges::find(tests, wanted, &RegisteredTest::name);
    if (test == tests.end()) {
        printUsage(argv[0]);
        return 2;
    }
    // Qt Test reads its own options from the second argument on.
    std::rotate(argv + 1, argv + 2, argv + argc);
    argv[--argc] = nullptr;
    const auto application = makeApplication(test->application, argc, argv);
    return test->run(argc, argv);
}
