#pragma once

#include "zekovar/foundation/lw_ptr.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/property/template_node.h"
#include "zekovar/property/template_token.h"
#include "zekovar/property/value.h"

namespace ZK::Property::Template
{
/// Renders texts from values: a text with tags in it is parsed once and rendered any number of times.
///
///     ZK::Property::Template::Template page;
///     XCode code = page.parse("{{#each ports}}{{name}}: {{#if up}}{{speed}}{{else}}down{{/if}}\n{{/each}}");
///     if (code)
///         print(page.render(config));
///
/// | Tag | Renders |
/// | --- | --- |
/// | {{name}} | the member `name` of the innermost object that has it; nothing if there is none |
/// | {{this}} | the value that the innermost section stands at |
/// | {{'any name'}} | a name with other characters than letters, digits, "_", "-", "." and "/" |
/// | {{#name}}...{{/name}} | what stands inside: once for each element of an array, once for another true value |
/// | {{^name}}...{{/name}} | what stands inside if the value is false |
/// | {{else}} | in a section: swaps what is shown for a true value and what for a false one |
/// | {{bold value}}, {{auto value}}, {{#bold}}, {{#if value}}, {{#each value}} | see the classes of these tags |
///
/// Arguments are names, texts and numbers as in JSON, `true`, `false` and `null`. "." and "/" are characters of a name,
/// not a path. Nothing but `auto` escapes. A section's tags that stand alone on their lines take their lines with them.
/// What stands behind an `else` outside of all sections isn't rendered.
///
/// A start tag with "#" and one with "^" don't mix well: a section has the polarity of the start tag that was read last
/// in front of its end tag, which is that of the last section inside it, if there is one.
///
/// Sections may stand `MAX_DEPTH` deep in each other. Parsing belongs to one thread; several may render at once, each
/// with a value of its own.
class Template
{
public:
    /// Replaces the template. On failure, which carries the reason, the one before stays.
    XCode parse(String const& text);

    /// The text for `data`; empty if nothing was parsed. A rendering that takes more than `Context::MAX_WORK` ends
    /// early with what it has, and with a warning to the system monitor.
    String render(Value const& data) const;

private:
    struct Reader;

    XCode readTokens(String const& text);
    void parseText(Reader& reader);
    XCode parseTag(Reader& reader);
    static XCode parseArguments(char const* text, int length, ZKVector<ArgToken>& arguments);
    XCode openSection(Reader& reader);
    XCode closeSection(Reader& reader);
    void addToken(Token const& token);
    void stripWhitespacesBeforeAndAfterStandaloneSectionTags();
    static XCode tokensToNodeTree(ZKVector<Token> const& tokens, unsigned int first, unsigned int last,
                                  ZKLWPtr<Node>& main, ZKLWPtr<Node>& inverted);
    static ZKLWPtr<Node> makeSimple(Token const& token);
    static ZKLWPtr<Block> makeBlock(Token const& token);

    ZKVector<Token> m_tokens; // of the last text, also after a failure
    ZKLWPtr<Node> m_root;     // of the last text that was parsed successfully
};
}
