// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AtExit.h"

#include <QDateTime>
#include <QLocale>

#include <cstdlib>
#include <utility>

namespace vantrel {

namespace {

AtExit *current = nullptr;

/// What is created after a function was registered is destroyed before that function is called. Qt
/// creates the data of time zones and locales when they are used for the first time.
void createTimeAndLocaleData()
{
    [[maybe_unused]] const QString text =
        QLocale::system().toString(QDateTime::currentDateTime(), QLocale::ShortFormat);
}

} // namespace

AtExit::AtExit(std::function<void()> function)
    : m_function(std::move(function)), m_thread(std::this_thread::get_id())
{
    current = this;
    createTimeAndLocaleData();
    [[maybe_unused]] static const int registered = std::atexit(&AtExit::call);
}

AtExit::~AtExit()
{
    current = nullptr;
}

/// In another thread the owner of the data may still be running.
void AtExit::call()
{
    AtExit *const object = std::exchange(current, nullptr);
    if (object != nullptr && std::this_thread::get_id() == object->m_thread)
        object->m_function();
}

} // namespace vantrel
