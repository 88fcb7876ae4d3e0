// An embedded GenICam description as nodes, for tests.
#pragma once

#include <algorithm>
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
    /// Names and texts of all children in order, entries among them.
    std::vector<std::pair<std::string, std::string>> elements;
    std::vector<DescriptionNode> entries;

    bool has(std::string_view element) const { return find(element) != elements.end(); }
    /// Text of the first child of that name; empty without one.
    std::string operator[](std::string_view element) const
    {
        return has(element) ? find(element)->second : "";
    }
    /// A number in decimal or hexadecimal.
    std::uint32_t number(std::string_view element) const
    {
        return static_cast<std::uint32_t>(std::stoull((*this)[element], nullptr, 0));
    }

private:
    std::vector<std::pair<std::string, std::string>>::const_iterator
    find(std::string_view element) const
    {
        return std::find_if(elements.begin(), elements.end(),
                            [element](const auto& child) { return child.first == element; });
    }
};

/// A file that the library carries. Groups are dissolved.
class DescriptionFile
{
public:
    explicit DescriptionFile(const char* resourceName)
    {
        const EmbeddedFile* file = FindEmbeddedFile(resourceName);
        text.assign(file->data, file->size);
        xmlDoc* document = xmlReadMemory(file->data, static_cast<int>(file->size), resourceName,
                                         nullptr, XML_PARSE_NONET);
        if (document == nullptr)
            return;
        readNodes(xmlDocGetRootElement(document));
        xmlFreeDoc(document);
        for (std::size_t i = 0; i < nodes.size(); ++i)
            byName[nodes[i].name] = i;
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
            return {node->number("Address")};
        std::vector<std::uint32_t> addresses;
        for (const auto& [element, name] : node->elements) {
            if (element != "pValue" && element != "pValueIndexed")
                continue;
            for (const std::uint32_t address : registersOf(find(name)))
                addresses.push_back(address);
        }
        return addresses;
    }

    std::string text;
    std::vector<DescriptionNode> nodes;
    std::map<std::string, std::size_t> byName;

private:
    static std::string take(xmlChar* owned)
    {
        const std::string result = owned != nullptr ? reinterpret_cast<const char*>(owned) : "";
        xmlFree(owned);
        return result;
    }
    static DescriptionNode readNode(xmlNode* element)
    {
        DescriptionNode node;
        node.kind = reinterpret_cast<const char*>(element->name);
        node.name = take(xmlGetProp(element, BAD_CAST "Name"));
        for (xmlNode* child = xmlFirstElementChild(element); child != nullptr;
             child = xmlNextElementSibling(child)) {
            node.elements.emplace_back(reinterpret_cast<const char*>(child->name),
                                       take(xmlNodeGetContent(child)));
            if (node.elements.back().first == "EnumEntry")
                node.entries.push_back(readNode(child));
        }
        return node;
    }
    void readNodes(xmlNode* parent)
    {
        for (xmlNode* child = xmlFirstElementChild(parent); child != nullptr;
             child = xmlNextElementSibling(child)) {
            if (xmlStrEqual(child->name, BAD_CAST "Group"))
                readNodes(child);
            else
                nodes.push_back(readNode(child));
        }
    }
};

} // namespace GenTLProducer
