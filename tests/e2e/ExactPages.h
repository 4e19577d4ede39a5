// Pages as the tests of exact paging read them.
#pragma once

#include <string>
#include <vector>

#include "common/Text.h"
#include "platform/xml/Xml.h"

namespace ods::test {

/// The elements of a request for the page beside `page`, which `navigate` names.
inline std::string From(const XmlDocument& page, const std::string& navigate) {
  return "<Navigate>" + navigate + "</Navigate><FirstPos>" + GetNodeText(page, "/XML/FirstPosition") +
         "</FirstPos><LastPos>" + GetNodeText(page, "/XML/LastPosition") + "</LastPos>";
}

/// The values of a page's rows, each row's joined by ",".
inline std::vector<std::string> RowsOf(const XmlDocument& page) {
  std::vector<std::string> rows;
  for (const XmlNode& record : page.SelectNodes("/XML/Records/R")) {
    std::vector<std::string> values;
    for (const XmlNode& value : record.SelectNodes("V")) {
      values.push_back(value.Raw().child("Null") ? "null" : value.Text());
    }
    rows.push_back(Join(values, ","));
  }
  return rows;
}

}  // namespace ods::test
