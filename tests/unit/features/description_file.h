// An embedded GenICam description as nodes, for tests.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <libxml/parser.h>

#include "genicam/embedded_files.h"

namespace GenTLProducer
{

/// A node of the description, or an entry of an enumeration.
struct DescriptionNode {
    std::string kind; ///< element name
    std::string name;
    std::map<std::string, std::string> attributes;
    /// Children that hold text, in order.
    std::vector<std::pair<std::string, std::string>> elements;
    std::vector<DescriptionNode> entries;
    /// Names of all children in order, entries among them.
    std::vector<std::string> order;

    /// Text of the first child of that name; empty without one.
    std::string operator[](std::string_view element) const
    {
        for (const auto& [key, text] : elements) {
            if (key == element)
                return text;
        }
        return {};
    }
    bool has(std::string_view element) const
    {
        for (const auto& child : elements) {
            if (child.first == element)
                return true;
        }
        return false;
    }
    /// A number in decimal or hexadecimal.
    std::uint64_t number(std::string_view element) const
    {
        return std::stoull((*this)[element], nullptr, 0);
    }
};

/// A file that the library carries. Groups are dissolved.
class DescriptionFile
{
public:
    explicit DescriptionFile(const char* resourceName)
    {
        const EmbeddedFile* file = FindEmbeddedFile(resourceName);
        if (file == nullptr)
            return;
        xmlDoc* document = xmlReadMemory(file->data, static_cast<int>(file->size), resourceName,
                                         nullptr, XML_PARSE_NONET);
        if (document == nullptr)
            return;
        read(xmlDocGetRootElement(document));
        xmlFreeDoc(document);
    }

    const DescriptionNode* find(const std::string& name) const
    {
        const auto found = byName.find(name);
        return found != byName.end() ? &nodes[found->second] : nullptr;
    }

    /// Addresses of the registers that a node's value comes from: one behind another node, several
    /// behind a choice by a selector, none for a constant or for null.
    std::vector<std::uint32_t> registersOf(const DescriptionNode* node) const
    {
        if (node == nullptr)
            return {};
        if (node->has("Address"))
            return {static_cast<std::uint32_t>(node->number("Address"))};
        std::vector<std::uint32_t> addresses;
        for (const auto& [element, text] : node->elements) {
            if (element != "pValue" && element != "pValueIndexed")
                continue;
            for (const std::uint32_t address : registersOf(find(text)))
                addresses.push_back(address);
        }
        return addresses;
    }

    std::map<std::string, std::string> attributes;
    std::vector<DescriptionNode> nodes;
    std::map<std::string, std::size_t> byName;

private:
    static std::string text(xmlChar* owned)
    {
        const std::string result = owned != nullptr ? reinterpret_cast<const char*>(owned) : "";
        xmlFree(owned);
        return result;
    }
    static std::string nameOf(const xmlNode* element)
    {
        return reinterpret_cast<const char*>(element->name);
    }
    static std::map<std::string, std::string> attributesOf(xmlNode* element)
    {
        std::map<std::string, std::string> result;
        for (xmlAttr* attribute = element->properties; attribute; attribute = attribute->next)
            result[reinterpret_cast<const char*>(attribute->name)] =
                text(xmlNodeListGetString(element->doc, attribute->children, 1));
        return result;
    }

    static DescriptionNode readNode(xmlNode* element)
    {
        DescriptionNode node;
        node.kind = nameOf(element);
        node.attributes = attributesOf(element);
        node.name = node.attributes["Name"];
        for (xmlNode* child = element->children; child; child = child->next) {
            if (child->type != XML_ELEMENT_NODE)
                continue;
            node.order.push_back(nameOf(child));
            if (node.order.back() == "EnumEntry")
                node.entries.push_back(readNode(child));
            else
                node.elements.emplace_back(node.order.back(), text(xmlNodeGetContent(child)));
        }
        return node;
    }

    void read(xmlNode* root)
    {
        attributes = attributesOf(root);
        for (xmlNode* child = root->children; child; child = child->next) {
            if (child->type != XML_ELEMENT_NODE)
                continue;
            if (nameOf(child) == "Group") {
                for (xmlNode* inner = child->children; inner; inner = inner->next) {
                    if (inner->type == XML_ELEMENT_NODE)
                        nodes.push_back(readNode(inner));
                }
            } else {
                nodes.push_back(readNode(child));
            }
        }
        for (std::size_t i = 0; i < nodes.size(); ++i)
            byName[nodes[i].name] = i;
    }
};

} // namespace GenTLProducer
