#include "Pager.h"

#include <optional>
#include <utility>

#include "PagerModel.h"
#include "PagerScreen.h"
#include "Terminal.h"

namespace odbc_data {

void RunPager(Client& client, const KnownTable& table, Question question, bool atEnd) {
  std::optional<PagerScreen> screen;
  PagerModel model(table, std::move(question), [&](const Question& asked, Navigate navigate, const Place& from) {
    if (screen) screen->ShowWaiting();
    return client.ReadPage(asked, navigate, from);
  });
  model.Resize(TerminalWidth(Stream::kOutput), TerminalHeight(Stream::kOutput));
  model.Start(atEnd);  // before the screen is taken: what is wrong is then told as by any command
  screen.emplace();
  while (!model.Ended()) {
    model.Resize(screen->Width(), screen->Height());
    screen->Show(model.Draw(), model.Cursor());
    if (const auto press = screen->WaitForKey()) model.Press(*press);
  }
}

}  // namespace odbc_data
