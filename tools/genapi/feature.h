// One feature of a port, as its description defines it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <arv.h>

namespace zevo_tool
{

enum class FeatureKind : std::uint8_t {
    Category,
    Integer,
    Float,
    Boolean,
    Enumeration,
    String,
    Command,
    Other ///< nothing with a value
};

/// Whether a value is looked at before it is sent. While a camera takes stored settings its limits
/// and locks don't count yet.
enum class Checking : std::uint8_t { Everything, SyntaxOnly };

/// How exact a value's text is to be.
enum class Digits : std::uint8_t { Readable, Exact };

/// A reference to a node of a FeatureMap, which has to outlive it. Operations that access
/// registers fail with the producer's words.
class Feature final
{
public:
    /// The node isn't owned.
    explicit Feature(ArvGcFeatureNode* node) : node_(node) {}

    std::string Name() const;
    std::string ToolTip() const;
    FeatureKind Kind() const;
    /// Of a number; empty for others.
    std::string Unit() const;
    bool IsStreamable() const;
    /// For experts and gurus, or not for people at all.
    ArvGcVisibility Visibility() const;

    bool IsAvailable() const;
    bool IsLocked() const;
    bool IsReadable() const;
    bool IsWritable() const;

    /// Failure with the reason when there is no value to be read now.
    void CheckReadable() const;
    /// Numbers without their unit, enumerations by entry.
    std::string Value(Digits digits = Digits::Readable) const;
    /// Limits and step of a number, "96 .. 2592 step 8", or the entries to choose from,
    /// "Off, On"; empty where there is no choice.
    std::string Choice() const;
    /// Entries that can be chosen now.
    std::vector<std::string> Entries() const;

    /// The values of an integer, but no more than that many.
    std::vector<std::string> Steps(std::int64_t most) const;

    /// Failure with the reason when the text isn't a value that the feature can take now.
    void Set(const std::string& text, Checking checking = Checking::Everything) const;
    void Execute() const;

    /// What a category holds.
    std::vector<Feature> Children() const;
    /// The features whose values depend on this one's, a selector's.
    std::vector<Feature> Selected() const;

private:
    std::vector<Feature> EntryNodes() const;
    void CheckWritable() const;
    void SetInteger(const std::string& text, Checking checking) const;
    void SetFloat(const std::string& text, Checking checking) const;
    void SetBoolean(const std::string& text) const;
    void SetEnumeration(const std::string& text, Checking checking) const;
    void SetString(const std::string& text, Checking checking) const;
    std::string IntegerText(std::int64_t value) const;
    std::string WithUnit(const std::string& value) const;

    ArvGcFeatureNode* node_;
};

/// "Integer", "Float" and so on.
const char* KindName(FeatureKind kind);

} // namespace zevo_tool
