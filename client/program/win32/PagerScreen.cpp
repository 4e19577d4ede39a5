#include "PagerScreen.h"

#include "ExitStatus.h"

namespace odbc_data {

struct PagerScreen::Terminal {};

// ncurses, by which the pager draws elsewhere, is not of this system.
PagerScreen::PagerScreen() { throw UsageError("Pages cannot be shown interactively on Windows."); }

PagerScreen::~PagerScreen() = default;

std::size_t PagerScreen::Width() const { return 0; }

std::size_t PagerScreen::Height() const { return 0; }

void PagerScreen::Show(const std::vector<Line>& /*lines*/, std::optional<std::size_t> /*cursor*/) {}

void PagerScreen::ShowWaiting() {}

std::optional<KeyPress> PagerScreen::WaitForKey() { return std::nullopt; }

}  // namespace odbc_data
