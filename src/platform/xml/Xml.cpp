#include "platform/xml/Xml.h"

#include <cstring>
#include <utility>

#include "common/Error.h"
#include "common/Text.h"
#include "platform/system/ReadFile.h"
#include "platform/system/ReplaceFile.h"
#include "platform/xml/Characters.h"

namespace ods {

namespace {

constexpr const char* kSpaceAttribute = "xml:space";
constexpr const char* kPreserve = "preserve";
constexpr std::string_view kWhiteSpace = " \t\r\n";
/// What stands in the tree where markup is to be, and how it is written out: no text that is let in can be written so.
constexpr const char* kMarkupPlace = "\x1F";
constexpr std::string_view kMarkupPlaceText = "&#31;";

[[noreturn]] void RaiseGeneral(const std::string& description) {
  throw Error(error_number::kGeneralFailure, description);
}

void RequireNode(const pugi::xml_node& node) {
  if (!node) throw Error(error_number::kObjectMissing, "The XML node does not exist");
}

void RequireText(std::string_view text, std::string_view name) {
  if (IsXmlText(text)) return;
  RaiseGeneral("The text for '" + std::string(name) + "' holds a character that XML cannot carry");
}

void RequireName(const char* name) {
  if (!xml::IsName(name)) RaiseGeneral("'" + std::string(name) + "' is not an XML name");
}

bool IsText(const pugi::xml_node& node) { return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata; }

/// The node after `node` in document order among the descendants of `top`; an empty one after the last.
pugi::xml_node NextInDocument(const pugi::xml_node& top, pugi::xml_node node) {
  if (const pugi::xml_node child = node.first_child()) return child;
  for (; node != top; node = node.parent()) {
    if (const pugi::xml_node sibling = node.next_sibling()) return sibling;
  }
  return {};
}

std::string TextOf(const pugi::xml_node& top) {
  std::string text;
  for (pugi::xml_node node = top; node; node = NextInDocument(top, node)) {
    if (IsText(node)) text += node.value();
  }
  return text;
}

void SetTextOf(pugi::xml_node node, std::string_view text) {
  node.remove_children();
  if (!text.empty()) node.append_child(pugi::node_pcdata).set_value(text.data(), text.size());
}

/// An expression as an error names it: its start, for a client may have made it very long.
std::string Shown(std::string_view xpath) {
  constexpr std::size_t kMost = 200;
  if (xpath.size() <= kMost) return std::string(xpath);
  std::size_t length = kMost;
  while (length > 0 && (static_cast<unsigned char>(xpath[length]) & 0xC0U) == 0x80U) --length;
  return std::string(xpath.substr(0, length)) + "...";
}

/// Runs a selection, and raises the library's complaint about the expression as an error of ours.
template <typename Selection>
auto Select(const char* xpath, Selection selection) {
  try {
    return selection();
  } catch (const pugi::xpath_exception& exception) {
    RaiseGeneral("Error in XPath expression " + Shown(xpath) + ": " + exception.what());
  }
}

/// Takes the output of the library. A carriage return can only come from a text (a parser makes line feeds of all
/// others), and would be lost at the next parser if it left as it is.
class StringWriter final : public pugi::xml_writer {
 public:
  void write(const void* data, std::size_t size) override {
    std::string_view chunk(static_cast<const char*>(data), size);
    for (std::size_t hit = chunk.find('\r'); hit != std::string_view::npos; hit = chunk.find('\r')) {
      text_.append(chunk, 0, hit).append("&#13;");
      chunk.remove_prefix(hit + 1);
    }
    text_ += chunk;
  }
  [[nodiscard]] std::string Take() { return std::move(text_); }

 private:
  std::string text_;
};

bool IsDroppableWhiteSpace(const pugi::xml_node& node) {
  return node.type() == pugi::node_pcdata && (node.previous_sibling() || node.next_sibling()) &&
         std::string_view(node.value()).find_first_not_of(kWhiteSpace) == std::string_view::npos;
}

/// Drops the white space between elements wherever the nearest xml:space is not "preserve". `preserved` holds the
/// answer of every open level; the stack is as deep as the document, so at most as deep as it may be to load.
void DropWhiteSpace(pugi::xml_document& document) {
  std::vector<bool> preserved{false};
  pugi::xml_node node = document.first_child();
  while (node) {
    if (const pugi::xml_attribute space = node.attribute(kSpaceAttribute)) {
      preserved.push_back(std::strcmp(space.value(), kPreserve) == 0);
    } else {
      preserved.push_back(preserved.back());
    }
    if (const pugi::xml_node child = node.first_child()) {
      node = child;
      continue;
    }
    const bool drops = !preserved.back() && IsDroppableWhiteSpace(node);  // a text has the answer of its parent
    pugi::xml_node next;
    for (pugi::xml_node level = node; level != document && !next; level = level.parent()) {
      preserved.pop_back();
      next = level.next_sibling();
    }
    if (drops) node.parent().remove_child(node);
    node = next;
  }
}

}  // namespace

// ---- XmlNode ----

std::string XmlNode::Text() const { return TextOf(node_); }

void XmlNode::SetText(std::string_view text) {
  RequireNode(node_);
  RequireText(text, node_.name());
  SetTextOf(node_, text);
}

std::string XmlNode::Attribute(const char* name) const { return node_.attribute(name).value(); }

void XmlNode::SetAttribute(const char* name, std::string_view value) {
  RequireNode(node_);
  RequireText(value, name);
  pugi::xml_attribute attribute = node_.attribute(name);
  if (!attribute) {
    RequireName(name);
    attribute = node_.append_attribute(name);
  }
  attribute.set_value(value.data(), value.size());
}

XmlNode XmlNode::SelectSingleNode(const char* xpath) const {
  const pugi::xpath_node found = Select(xpath, [&] { return node_.select_node(xpath); });
  if (!found.attribute()) return XmlNode(found.node());
  const std::vector<XmlNode> nodes = SelectNodes(xpath);
  return nodes.empty() ? XmlNode() : nodes.front();
}

std::vector<XmlNode> XmlNode::SelectNodes(const char* xpath) const {
  pugi::xpath_node_set found = Select(xpath, [&] { return node_.select_nodes(xpath); });
  found.sort();
  std::vector<XmlNode> nodes;
  nodes.reserve(found.size());
  for (const pugi::xpath_node& each : found) {
    if (each.node()) nodes.emplace_back(each.node());
  }
  return nodes;
}

XmlNode XmlNode::AppendElement(const char* name) {
  RequireNode(node_);
  RequireName(name);
  return XmlNode(node_.append_child(name));
}

XmlNode XmlNode::AppendElement(const char* name, std::string_view text) {
  RequireText(text, name);
  const XmlNode element = AppendElement(name);
  SetTextOf(element.Raw(), text);
  return element;
}

XmlNode XmlNode::AppendCopy(const XmlNode& node) {
  RequireNode(node_);
  RequireNode(node.node_);
  const pugi::xml_node copy = node_.append_copy(node.node_);
  if (!copy) RaiseGeneral("The XML node cannot be copied here");
  return XmlNode(copy);
}

void XmlNode::RemoveChild(const XmlNode& child) { node_.remove_child(child.node_); }

// ---- XmlDocument ----

XmlDocument::XmlDocument() : document_(std::make_unique<pugi::xml_document>()) {}

XmlDocument::XmlDocument(std::string_view xml) : XmlDocument() { LoadXML(xml); }

bool XmlDocument::LoadXML(std::string_view xml) {
  document_->reset();
  markup_.reset();
  if (!IsWellFormed(xml)) return false;
  xml = WithoutByteOrderMark(xml);
  // Whether white space counts is known only where xml:space stands; most documents have none, and nothing to look at.
  const bool hasSpaceAttribute = xml.find(kSpaceAttribute) != std::string_view::npos;
  const unsigned whiteSpace = hasSpaceAttribute ? pugi::parse_ws_pcdata : pugi::parse_ws_pcdata_single;
  const unsigned options = pugi::parse_default | pugi::parse_comments | whiteSpace;
  if (!document_->load_buffer(xml.data(), xml.size(), options, pugi::encoding_utf8)) {
    document_->reset();
    return false;
  }
  if (hasSpaceAttribute) DropWhiteSpace(*document_);
  return true;
}

bool XmlDocument::Load(const std::string& path) {
  try {
    return LoadXML(ReadFileText(path));
  } catch (const Error&) {
    document_->reset();
    return false;
  }
}

void XmlDocument::Save(const std::string& path) const {
  constexpr unsigned kPrivate = 0600;
  ReplaceFile(path, Xml(), kPrivate);
}

void XmlDocument::SetMarkup(XmlNode element, TextBuffer markup) {
  RequireNode(element.Raw());
  SetTextOf(element.Raw(), kMarkupPlace);
  markup_ = std::move(markup);
}

std::string XmlDocument::TreeXml() const {
  StringWriter writer;
  document_->save(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
  return writer.Take();
}

std::string XmlDocument::Xml() const {
  std::string text = TreeXml();
  if (markup_) {
    const std::size_t place = text.find(kMarkupPlaceText);
    if (place != std::string::npos) text.replace(place, kMarkupPlaceText.size(), markup_->View());
  }
  return text;
}

TextPieces XmlDocument::TakeXml() {
  std::string text = TreeXml();
  const std::size_t place = markup_ ? text.find(kMarkupPlaceText) : std::string::npos;
  if (place == std::string::npos) return text;
  std::string after = text.substr(place + kMarkupPlaceText.size());
  text.resize(place);
  return {std::move(text), std::move(*markup_), std::move(after)};
}

XmlNode XmlDocument::DocumentElement() const& { return XmlNode(document_->document_element()); }

XmlNode XmlDocument::Node() const& { return XmlNode(document_->root()); }

// ---- helpers ----

std::string GetNodeText(const XmlNode& node, const char* xpath) {
  if (!node) return {};
  return Select(xpath, [&]() -> std::string {
    const pugi::xpath_node found = node.Raw().select_node(xpath);
    return found.attribute() ? found.attribute().value() : TextOf(found.node());
  });
}

std::string GetNodeText(const XmlDocument& document, const char* xpath) { return GetNodeText(document.Node(), xpath); }

void SetXmlSpacePreserve(XmlDocument& document) {
  XmlNode root = document.DocumentElement();
  if (!root) throw Error(error_number::kObjectMissing, "The XML document has no root element");
  root.SetAttribute(kSpaceAttribute, kPreserve);
}

}  // namespace ods
