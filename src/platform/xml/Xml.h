// XML documents: the one header through which the system sees its XML library.
//
// A document that is not well-formed, is not valid UTF-8, holds a character that XML 1.0 forbids or has a document type
// declaration does not load and leaves an empty document; so does one beyond these limits: elements nested 256 deep,
// 256 attributes of an element, 1000 bytes of a name, and 1,000,000 elements, attributes, texts, comments and
// instructions. Entities: the five built in and character references. Comments are kept, processing instructions are
// not.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "common/Object.h"
#include "common/TextBuffer.h"
#include "common/TextPieces.h"

namespace ods {

/// A reference to an element of a document (or to the document itself); may be empty. It stays valid while the document
/// lives and the element is in it.
class XmlNode {
 public:
  XmlNode() = default;
  explicit XmlNode(pugi::xml_node node) : node_(node) {}

  explicit operator bool() const { return !node_.empty(); }
  [[nodiscard]] std::string Name() const { return node_.name(); }
  /// The concatenated text of all descendants, nothing between.
  [[nodiscard]] std::string Text() const;
  /// Replaces the content by `text`. Raises error 91 when there is no node, and error 0x80004005, leaving the element
  /// as it was, for a text that XML cannot carry (invalid UTF-8, a character that XML 1.0 forbids).
  void SetText(std::string_view text);
  /// The value of an attribute, "" when it is missing.
  [[nodiscard]] std::string Attribute(const char* name) const;
  /// Sets an attribute, adding it when missing. Raises as `SetText`.
  void SetAttribute(const char* name, std::string_view value);

  /// The first node, or all nodes, that an XPath 1.0 expression selects relative to this one; attributes are passed
  /// over. Raises error 0x80004005 for an expression that is malformed or beyond the library's limits (a concat() of
  /// some thousand parts, say).
  [[nodiscard]] XmlNode SelectSingleNode(const char* xpath) const;
  [[nodiscard]] std::vector<XmlNode> SelectNodes(const char* xpath) const;
  [[nodiscard]] XmlNode FirstChild() const { return XmlNode(node_.first_child()); }

  /// Appends a new element and returns it. Raises error 91 when there is no node, and error 0x80004005 when `name` is
  /// not a name that XML allows.
  XmlNode AppendElement(const char* name);
  /// Appends a new element with a text. Raises as `SetText` too; nothing is appended then.
  XmlNode AppendElement(const char* name, std::string_view text);
  /// Appends a deep copy of a node of any document and returns it. Raises error 91 when either node is missing, and
  /// error 0x80004005 for what cannot stand in an element, such as a whole document.
  XmlNode AppendCopy(const XmlNode& node);
  void RemoveChild(const XmlNode& child);

  [[nodiscard]] pugi::xml_node Raw() const { return node_; }

 private:
  pugi::xml_node node_;
};

class XmlDocument {
 public:
  XmlDocument();
  explicit XmlDocument(std::string_view xml);

  /// Replaces the content. False, with an empty document, when `xml` does not load. White space between elements is
  /// dropped unless xml:space="preserve" holds there; an element whose whole content is white space keeps it.
  bool LoadXML(std::string_view xml);
  /// The same from a file (a UTF-8 byte-order mark is skipped). False also when the file cannot be read.
  bool Load(const std::string& path);
  /// Writes the document to a file as `ReplaceFile` does, a new one with mode 0600: in one step where that leaves the
  /// file to its owner. Raises error 1000 naming the path.
  void Save(const std::string& path) const;
  /// Gives an element without content one that is markup already. It is no part of the tree: it stands in the text of
  /// the document alone, as it is. One element of a document can have such a content, and loses it when the document
  /// loads anew.
  void SetMarkup(XmlNode element, TextBuffer markup);
  /// The document as text: no declaration, no indentation, a carriage return as a character reference.
  [[nodiscard]] std::string Xml() const;
  /// The same, with the markup taken out of the document: it is not copied.
  [[nodiscard]] TextPieces TakeXml();

  /// Nodes end with their document: so they are not had from one that ends with the expression.
  [[nodiscard]] XmlNode DocumentElement() const&;
  XmlNode DocumentElement() const&& = delete;
  /// The document itself as context of a selection.
  [[nodiscard]] XmlNode Node() const&;
  XmlNode Node() const&& = delete;
  [[nodiscard]] XmlNode SelectSingleNode(const char* xpath) const& { return Node().SelectSingleNode(xpath); }
  XmlNode SelectSingleNode(const char* xpath) const&& = delete;
  [[nodiscard]] std::vector<XmlNode> SelectNodes(const char* xpath) const& { return Node().SelectNodes(xpath); }
  std::vector<XmlNode> SelectNodes(const char* xpath) const&& = delete;

 private:
  /// The text of the tree, with the place of the markup in it.
  [[nodiscard]] std::string TreeXml() const;

  std::unique_ptr<pugi::xml_document> document_;
  std::optional<TextBuffer> markup_;  ///< of the element whose content is the place for it
};

/// The text of the first node (element or attribute) that `xpath` matches relative to `node`; "" when there is no node
/// (the expression is then not looked at) or no match. Raises error 0x80004005 for a malformed expression.
[[nodiscard]] std::string GetNodeText(const XmlNode& node, const char* xpath);
[[nodiscard]] std::string GetNodeText(const XmlDocument& document, const char* xpath);

/// Marks the root element with xml:space="preserve". Raises error 91 when there is no root.
void SetXmlSpacePreserve(XmlDocument& document);

/// True when every character of `text` may stand in an XML 1.0 document (production 2, Char) and it is valid UTF-8.
[[nodiscard]] bool IsXmlText(std::string_view text);
/// Appends `text` as `Xml` writes the text of an element, between `before` and `after`. False, with nothing appended,
/// when it is no `IsXmlText`.
[[nodiscard]] bool AppendXmlText(TextBuffer& xml, std::string_view text, std::string_view before = {},
                                 std::string_view after = {});
/// `text` with "&", "<" and ">" as entities, and every character that XML cannot carry replaced by "?".
[[nodiscard]] std::string EscapeXml(std::string_view text);

/// True when `xml` is one well-formed document as this module loads it (see the top of the header).
[[nodiscard]] bool IsWellFormed(std::string_view xml);

}  // namespace ods
