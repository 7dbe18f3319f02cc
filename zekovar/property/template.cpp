#include "zekovar/property/template.h"

#include "zekovar/diagnostics/system_monitor.h"
#include "zekovar/foundation/static_factory.h"
#include "zekovar/property/template_lexer.h"
#include "zekovar/property/template_tags.h"

#include <algorithm>
#include <cctype>
#include <new>
#include <string_view>
#include <syslog.h>

using namespace ZK::Property::Template;
using ZK::Property::Value;

namespace
{

XCode failure(char const* format, char const* first, char const* second = "")
{
    XCode code(XCODE_FAILURE);
    code.setStringF(format, first, second);
    return code;
}

bool isSpace(char character)
{
    return isspace(static_cast<unsigned char>(character));
}

/// The name in a tag, once its arguments are known to begin with one.
String const& nameOf(Token const& token)
{
    String const* const name = token.arguments[0].value.asString();
    return name != nullptr ? *name : String::s_empty;
}

/// The arguments behind the name.
ZKVector<ArgToken> argumentsBehindName(Token const& token)
{
    ZKVector<ArgToken> arguments;
    arguments.enlarge(token.arguments.size());
    for (unsigned int i = 1; i < token.arguments.size(); i++)
        arguments.add(token.arguments[i]);
    return arguments;
}

/// Index of the first line feed if nothing but blanks stands in front of it, else -1.
int endOfBlankFirstLine(String const& text)
{
    for (int i = 0; i < text.length() && isSpace(text[i]); i++)
    {
        if (text[i] == '\n')
            return i;
    }
    return -1;
}

/// Index of the last line feed if nothing but blanks stands behind it, else -1.
int startOfBlankLastLine(String const& text)
{
    for (int i = text.length() - 1; i >= 0 && isSpace(text[i]); i--)
    {
        if (text[i] == '\n')
            return i;
    }
    return -1;
}
}

/// Where the parser stands. All tags are read into one record, so that a section's end finds in `record.inverted` what
/// the start tag read last has put there.
struct Template::Reader
{
    explicit Reader(String const& source) : text(source.c_str(), static_cast<std::size_t>(source.length())) {}

    std::string_view text;
    std::size_t position = 0;
    Token record;
    ZKVector<unsigned int> openSections; // indices of the starts that have no end yet
};

XCode Template::parse(String const& text)
{
    if (XCode code = readTokens(text); code.isErr())
        return code;
    ZKLWPtr<Node> main;
    ZKLWPtr<Node> inverted;
    if (XCode code = tokensToNodeTree(m_tokens, 0, m_tokens.size(), main, inverted); code.isErr())
        return code;
    m_root = std::move(main);
    return XCODE_SUCCESS;
}

String Template::render(Value const& data) const
{
    if (!m_root)
        return String();
    Context context;
    context.push(data);
    String text = m_root->render(context);
    if (context.isExhausted())
        ZK::Detail::logToSystemMonitor(LOG_WARNING, "TEMPLATE: RENDERING TAKES TOO MUCH WORK, THE TEXT IS CUT OFF");
    return text;
}

XCode Template::readTokens(String const& text)
{
    m_tokens.clear();
    Reader reader(text);
    while (reader.position < reader.text.size())
    {
        if (!reader.text.substr(reader.position).starts_with("{{"))
            parseText(reader);
        else if (XCode code = parseTag(reader); code.isErr())
            return code;
    }
    Token end;
    end.kind = Token::END;
    addToken(end);
    stripWhitespacesBeforeAndAfterStandaloneSectionTags();
    if (!reader.openSections.isEmpty())
        return failure("START TAG '{{%s}}' WITHOUT END TAG", m_tokens[reader.openSections[0]].text.c_str());
    return XCODE_SUCCESS;
}

void Template::parseText(Reader& reader)
{
    std::size_t const end = std::min(reader.text.find("{{", reader.position + 1), reader.text.size());
    Token token;
    token.text.concat(reader.text.data() + reader.position, static_cast<int>(end - reader.position));
    addToken(token);
    reader.position = end;
}

XCode Template::parseTag(Reader& reader)
{
    if (reader.position + 3 >= reader.text.size())
        return XCODE_FAILURE;
    std::size_t const start = reader.position + 2;
    std::size_t const end = reader.text.find("}}", start);
    if (end == std::string_view::npos)
        return failure("%s", "EXPECTING '}}' AFTER '{{'");
    std::string_view tag = reader.text.substr(start, end - start);
    reader.position = end + 2;

    Token& record = reader.record;
    record.text = "";
    record.text.concat(tag.data(), static_cast<int>(tag.size()));
    record.arguments.clear();
    record.match = Token::NO_MATCH;
    record.kind = Token::SIMPLE_TAG;
    if (tag.starts_with('/'))
        record.kind = Token::SECTION_END;
    else if (tag.starts_with('#') || tag.starts_with('^'))
        record.kind = Token::SECTION_START;
    if (record.kind != Token::SIMPLE_TAG)
        tag.remove_prefix(1);

    if (XCode code = parseArguments(tag.data(), static_cast<int>(tag.size()), record.arguments); code.isErr())
        return code;
    if (record.arguments.isEmpty())
        return failure("EMPTY TAG '{{%s}}'", record.text.c_str());
    if (record.arguments[0].kind != ArgToken::IDENTIFIER)
        return failure("INVALID TAG '{{%s}}', FIRST TOKEN MUST BE AN IDENTIFIER", record.text.c_str());
    if (record.kind == Token::SECTION_START)
        return openSection(reader);
    if (record.kind == Token::SECTION_END)
        return closeSection(reader);
    addToken(record);
    return XCODE_SUCCESS;
}

XCode Template::parseArguments(char const* text, int length, ZKVector<ArgToken>& arguments)
{
    ExpressionLexer lexer(text, length);
    for (;;)
    {
        ArgToken argument{.kind = ArgToken::LITERAL, .value = Value()};
        long long integer;
        double floating;
        switch (lexer.pop())
        {
        case ExpressionLexer::Token::END:
            return XCODE_SUCCESS;
        case ExpressionLexer::Token::NULL_WORD:
            argument.value = nullptr;
            break;
        case ExpressionLexer::Token::FALSE_WORD:
            argument.value = false;
            break;
        case ExpressionLexer::Token::TRUE_WORD:
            argument.value = true;
            break;
        case ExpressionLexer::Token::IDENTIFIER:
            argument.kind = ArgToken::IDENTIFIER;
            [[fallthrough]];
        case ExpressionLexer::Token::STRING:
            argument.value = lexer.takeTokenText();
            break;
        case ExpressionLexer::Token::INTEGER:
            if (!lexer.parseStringToInt(integer))
                return failure("%s", lexer.getErrorText().c_str());
            argument.value = integer;
            break;
        case ExpressionLexer::Token::FLOATING:
            if (!lexer.parseStringToFloat(floating))
                return failure("%s", lexer.getErrorText().c_str());
            argument.value = floating;
            break;
        default:
            return failure("%s", lexer.getErrorText().c_str());
        }
        if (arguments.size() == arguments.capacity())
            arguments.enlarge(2 * arguments.size());
        arguments.add(std::move(argument));
    }
}

XCode Template::openSection(Reader& reader)
{
    Token& record = reader.record;
    if (reader.openSections.size() >= MAX_DEPTH)
        return failure("TOO MANY SECTIONS INSIDE EACH OTHER AT '{{%s}}'", record.text.c_str());
    record.inverted = record.text[0] == '^';
    reader.openSections.add(m_tokens.size());
    addToken(record);
    return XCODE_SUCCESS;
}

XCode Template::closeSection(Reader& reader)
{
    Token& record = reader.record;
    if (reader.openSections.isEmpty())
        return failure("END TAG '{{%s}}' WITHOUT START TAG", record.text.c_str());
    unsigned int const partner = reader.openSections.end()[-1];
    Token& start = m_tokens[partner];
    if (!(nameOf(start) == nameOf(record)))
        return failure("END TAG '{{/%s}}' AFTER UNFINISHED START TAG '{{#%s}}'", nameOf(record).c_str(),
                       nameOf(start).c_str());
    start.match = m_tokens.size();
    start.inverted = record.inverted;
    record.match = partner;
    reader.openSections.removeLast();
    addToken(record);
    return XCODE_SUCCESS;
}

void Template::addToken(Token const& token)
{
    if (m_tokens.size() == m_tokens.capacity())
        m_tokens.enlarge(2 * m_tokens.size()); // by doubling, since there may be many
    m_tokens.add(token);
}

void Template::stripWhitespacesBeforeAndAfterStandaloneSectionTags()
{
    for (unsigned int i = 1; i + 1 < m_tokens.size(); i++)
    {
        bool const isSection = m_tokens[i].kind == Token::SECTION_START || m_tokens[i].kind == Token::SECTION_END;
        Token& front = m_tokens[i - 1];
        Token& back = m_tokens[i + 1];
        if (!isSection || front.kind != Token::TEXT || back.kind != Token::TEXT)
            continue;
        int const lineStart = startOfBlankLastLine(front.text);
        int const lineEnd = endOfBlankFirstLine(back.text);
        if (lineStart < 0 || lineEnd < 0)
            continue;
        front.text.deleteRegion(lineStart);
        back.text.deleteRegion(0, lineEnd + 1);
    }
}

XCode Template::tokensToNodeTree(ZKVector<Token> const& tokens, unsigned int first, unsigned int last,
                                 ZKLWPtr<Node>& main, ZKLWPtr<Node>& inverted)
{
    Sequence* destination = new Sequence();
    Sequence* other = new Sequence();
    main = ZK::MovePtr<Node>(destination);
    inverted = ZK::MovePtr<Node>(other);
    for (unsigned int i = first; i < last; i++)
    {
        Token const& token = tokens[i];
        if (token.kind == Token::TEXT)
            destination->add(ZK::MovePtr<Node>(new Text(token.text)));
        else if (token.kind == Token::SIMPLE_TAG && nameOf(token) == "else")
            std::swap(destination, other);
        else if (token.kind == Token::SIMPLE_TAG)
        {
            ZKLWPtr<Node> simple = makeSimple(token);
            if (!simple)
                return failure("INVALID HELPER NAME: {{%s}}", token.text.c_str());
            destination->add(std::move(simple));
        }
        else if (token.kind == Token::SECTION_START)
        {
            ZKLWPtr<Node> inside[2];
            if (XCode code = tokensToNodeTree(tokens, i + 1, token.match, inside[0], inside[1]); code.isErr())
                return code;
            ZKLWPtr<Block> block = makeBlock(token);
            if (!block)
                return failure("INVALID HELPER NAME: {{%s}}", token.text.c_str());
            block->setSequences(inside[token.inverted ? 1 : 0], inside[token.inverted ? 0 : 1]);
            destination->add(block);
            i = token.match;
        }
    }
    return XCODE_SUCCESS;
}

ZKLWPtr<Node> Template::makeSimple(Token const& token)
{
    ZKLWPtr<Node> node = ZK::MovePtr<Node>(ZKStaticFactoryManager<Node>::CREATE_INSTANCE(nameOf(token)));
    if (node)
        node->setArguments(argumentsBehindName(token));
    else if ((node = ZK::MovePtr<Node>(new (std::nothrow) SimpleGeneric())))
        node->setArguments(ZKVector<ArgToken>(token.arguments));
    return node;
}

ZKLWPtr<Block> Template::makeBlock(Token const& token)
{
    ZKLWPtr<Block> block = ZK::MovePtr<Block>(ZKStaticFactoryManager<Block>::CREATE_INSTANCE(nameOf(token)));
    if (block)
        block->setArguments(argumentsBehindName(token));
    else if ((block = ZK::MovePtr<Block>(new (std::nothrow) BlockGeneric())))
        block->setArguments(ZKVector<ArgToken>(token.arguments));
    return block;
}
