// Documents from files: views as the server keeps them, and any other document, which can be written and loaded again.
#include <fstream>

#include "common/Error.h"
#include "database/modViews.h"
#include "fuzz/Fuzz.h"
#include "support/TemporaryFolder.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using ods::test::Require;
  static const ods::test::TemporaryFolder folder;
  const std::string path = folder.Path() + "/views.xml";
  std::ofstream(path, std::ios::binary | std::ios::trunc) << ods::test::InputText(data, size);

  ods::XmlDocument document;
  const bool loaded = document.Load(path);
  Require(loaded == static_cast<bool>(document.DocumentElement()), "what loads has a root");
  if (loaded) {
    const std::string text = document.Xml();
    ods::XmlDocument again;
    // White space that begins to count or ceases to is the one thing that may differ after the first time.
    Require(again.LoadXML(text), "what is written loads again", text);
    Require(ods::XmlDocument(again.Xml()).Xml() == again.Xml(), "what is written stays", text);
  }
  for (const char* identifier : {"a", "order_totals", "it's \"a\""}) {
    try {
      (void)ods::FindViewQuery(folder.Path(), identifier);
    } catch (const ods::Error&) {  // NOLINT(bugprone-empty-catch): a document without a root is said to be none
    }
  }
  return 0;
}
