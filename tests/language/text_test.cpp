// Text in and out: tokens and formats.

#include <string_view>

#include "reasoner/language/TextHelpers.h"
#include "reasoner/language/TokenStream.h"
#include "reasoner/support/Numbers.h"
#include "reasoner/vocabulary/KBConsts.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class TOpenStream : public TKBClipsStream {
 public:
  explicit TOpenStream(const std::string& text)
      : TKBClipsStream(std::make_unique<TKitStringStream>(text)) {}
  using TKBClipsStream::FinishToken;
};

// A token as its kind and what it shows: "a:word", "s:text", "i:1", "f:1.5000", "v:x", "m:x", or
// the punctuation.
std::string Dump(const IStreamToken& token) {
  switch (token.GetDataType()) {
    case dtNone:
      return "end";
    case dtAtom:
      return "a:" + token.GetText().str();
    case dtString:
      return "s:" + token.GetText().str();
    case dtInteger:
      return "i:" + token.ToString();
    case dtFloat:
      return "f:" + token.ToString();
    case dtVariable:
      return "v:" + token.GetText().str();
    case dtMultiVariable:
      return "m:" + token.GetText().str();
    default:
      return token.ToString();
  }
}

std::string DumpAll(const std::string& text) {
  TOpenStream stream(text);
  std::string dump;
  for (;;) {
    const Ref<IStreamToken> token = stream.NextToken();
    if (!dump.empty()) dump += ' ';
    dump += Dump(*token);
    if (token->IsEnd()) return dump;
  }
}

TEST(TokenStreamTest, TextBecomesTokens) {
  const struct {
    const char *text, *wanted;
  } rows[] = {
      {"", "end"},
      {" \t\r\n ; only a comment", "end"},
      {"(a b)", "( a:a a:b ) end"},
      {"\"a;b\"", "s:a;b end"},
      {"a\\;b", "a:a;b end"},
      {"a[1]", "a:a [ i:1 ] end"},
      {"a=b >= <= a==", "a:a=b a:>= a:<= a:a== end"},
      {"=> == =", "= a:> = = = end"},
      {"?x<-(a)", "v:x a:<- ( a:a ) end"},
      {"?x&~b|:(f)", "v:x & ~ a:b | a:: ( a:f ) end"},
      {"$?x ?*g* $ $x", "m:x v:*g* a:$ a:$x end"},
      {"a\"b\"", "a:a s:b end"},
      {"\"\\n\\t\\x \\\" \\\\n\"", "s:\n\tx \" \\n end"},
      {"\"\"", "s: end"},
      {"\\ab a\\b", "a:\\ab a:ab end"},
      {"a\\", "a:a end"},
      {"é\\\u00fc", "a:éü end"},
      // What a word could not begin with as itself.
      {"\\( \\?x \\12 \\\\a \\\"", "a:( a:?x a:12 a:\\a a:\" end"},
  };
  for (const auto& row : rows) EXPECT_EQ(DumpAll(row.text), row.wanted) << row.text;
}

TEST(TokenStreamTest, TokensKnowTheirPlace) {
  const struct {
    const char *text, *wanted;  // line.column of each token
  } rows[] = {
      {"a b\nc", "1.1 1.3 2.1 2.2"},
      {"a\r\nb\rc\n\rd", "1.1 2.1 3.1 5.1 5.2"},
      {"é (ü \"x\") ;c\n  z", "1.1 1.3 1.4 1.6 1.9 2.3 2.4"},
      {"\"a\r\nb\" c", "2.1 2.4 2.5"},
      {";c\r\n;d\ra", "3.1 3.2"},
      {"(a\n b)\n\n(c)", "1.1 1.2 2.2 2.3 4.1 4.2 4.3 4.4"},
  };
  for (const auto& row : rows) {
    TOpenStream stream(row.text);
    std::string places;
    for (bool going = true; going;) {
      const Ref<IStreamToken> token = stream.NextToken();
      if (!places.empty()) places += ' ';
      places += IntegerToText(token->GetLineNumber()) + "." + IntegerToText(token->GetColumn());
      going = !token->IsEnd();
    }
    EXPECT_EQ(places, row.wanted) << row.text;
  }
}

TEST(TokenStreamTest, EchoShowsWhatWasReadOfTheExpression) {
  TOpenStream stream("(first) (a \"b\"\n 1.5 ?x)");
  for (int i = 0; i < 3; ++i) stream.NextToken();
  EXPECT_EQ(stream.ToString(), "( first ) ");
  std::vector<Ref<IStreamToken>> tokens;
  for (int i = 0; i < 5; ++i) tokens.push_back(stream.NextToken());
  EXPECT_EQ(stream.ToString(), "( a \\\"b\"\\ \n1.5000 ?x ");
  // Putting back takes the line break along, and reading again adds none: the last token is on that
  // line.
  stream.PutBackToken(tokens[4]);
  stream.PutBackToken(tokens[3]);
  EXPECT_EQ(stream.ToString(), "( a \\\"b\"\\ ");
  EXPECT_EQ(stream.NextToken(), tokens[3]);
  EXPECT_EQ(stream.ToString(), "( a \\\"b\"\\ 1.5000 ");
}

TEST(TokenStreamTest, DiscardingStopsAtTheLineOfTheToken) {
  TOpenStream stream("12 rest of it\n34\n(a b\nc) d\n56 ; x\r\n7");
  const auto read = [&stream] {
    const std::string dump = Dump(*stream.NextToken());
    stream.DiscardUntilEOL();
    return dump;
  };
  EXPECT_EQ(read(), "i:12");
  EXPECT_EQ(read(), "i:34");  // its separator was the line end
  EXPECT_EQ(read(), "(");     // drops a and b, which were read ahead
  EXPECT_EQ(read(), "a:c");   // drops the parenthesis and d
  EXPECT_EQ(read(), "i:56");
  EXPECT_EQ(read(), "i:7");
  EXPECT_EQ(read(), "end");
}

TEST(TokenStreamTest, LinesCanBeReadBetweenTokens) {
  TOpenStream stream("a\r\nline two\r\nb c\nlast");
  EXPECT_EQ(Dump(*stream.NextToken()), "a:a");
  EXPECT_EQ(stream.GetLine(), "line two");
  EXPECT_EQ(Dump(*stream.NextToken()), "a:b");
  EXPECT_EQ(stream.GetLine(), "c");
  EXPECT_EQ(stream.GetLine(), "last");
  EXPECT_TRUE(stream.AtEnd());
}

TEST(TokenStreamTest, AnOpenStringFailsBeforeItsExpressionIsSeen) {
  TOpenStream stream("(ok)\n(a \"b\nc)");
  stream.SetFileName("rules.clp");
  for (int i = 0; i < 3; ++i) stream.NextToken();
  try {
    stream.NextToken();
    FAIL();
  } catch (const EKBParseException& failure) {
    EXPECT_STREQ(failure.what(), "Invalid string value, string was not terminated");
    EXPECT_EQ(failure.File, "rules.clp");
    EXPECT_EQ(failure.LineNumber, 2);
    EXPECT_EQ(failure.Column, 4);
  }
  EXPECT_EQ(Dump(*stream.NextToken()), "end");  // nothing of the failed expression is left
}

TEST(TokenStreamTest, TokensTakeAndYieldValues) {
  EXPECT_EQ(TKBStreamToken(dtAtom, "NiL").Value().get(), FCNil.get());
  EXPECT_TRUE(TKBStreamToken('&', "&").Value()->Equals(*NewString("38")));
  TKBStreamToken token;
  for (const Ref<IKBValue>& original :
       {NewFloat(1.5), NewInteger(-3), NewString("s"), NewFactId(7)}) {
    token.SetValue(*original);
    EXPECT_TRUE(token.Value()->Equals(*original)) << original->ToString();
  }
}

TEST(TokenStreamTest, AtomsWrittenAsSourceReadBack) {
  for (const char* text : {"a",   "a b", " a", "(",    "a(b", ";",  "a;b", "\"",   "?x",   "?",
                           "$?x", "$x",  "12", "-1.5", "-",   "\\", "\\a", "a\\",  "\\(",  "\\5",
                           "=",   "a=b", "<-", "a<b",  "[",   "|",  "é ü", "a\nb", "1e400"}) {
    const std::string source = AtomToSource(text);
    TOpenStream stream(source + " next");
    const Ref<IStreamToken> token = stream.NextToken();
    EXPECT_EQ(Dump(*token), std::string("a:") + text) << source;
    EXPECT_EQ(Dump(*stream.NextToken()), "a:next") << source;
  }
  EXPECT_EQ(AtomToSource(""), "nil");
}

// One expression may be as large and as deep as memory allows.
TEST(TokenStreamTest, HugeExpressionsAreReadInOneGo) {
  const std::size_t depth = 300000;
  TOpenStream stream(std::string(depth, '(') + std::string(depth, ')'));
  std::size_t tokens = 0;
  while (!stream.NextToken()->IsEnd()) ++tokens;
  EXPECT_EQ(tokens, 2 * depth);
}

std::string Format(const std::string& format, const std::vector<Ref<IKBValue>>& values,
                   bool plain = true) {
  const Ref<IValueVector> args = NewVector();
  for (const Ref<IKBValue>& value : values) args->Add(value);
  return CLIPSFormat(format, *args, plain);
}

TEST(TextHelpersTest, FormatsTakeTheirValuesInOrder) {
  const Ref<IValueVector> two = NewVector();
  two->Add(NewInteger(1));
  two->Add(NewAtom("b"));
  const struct {
    const char* format;
    std::vector<Ref<IKBValue>> values;
    const char* wanted;
  } rows[] = {
      {"plain", {}, "plain"},
      {"%d and %s", {NewInteger(3), NewAtom("x")}, "3 and x"},
      {"%5d|%-5d|%05.1f", {NewInteger(3), NewInteger(4), NewFloat(1.25)}, "    3|4    |  1.2"},
      {"a%nb%n%d%n", {NewInteger(1)}, "a\nb\n1\n"},
      {"%s", {NewString("q")}, "q"},
      {"%6s|%-4s|", {NewString("q"), NewAtom("r")}, "     q|r   |"},
      {"%d%% of %s%%", {NewInteger(5), NewString("%d%%")}, "5% of %d%%%"},
      {"%%%d%%n", {NewInteger(1)}, "%1%n"},
      {"none", {NewString("s"), NewAtom("a"), NewFactId(7), NewList(two)}, "none s a 7 (1 b )"},
      {"%d left %s", {NewInteger(1)}, "1 left %s"},
      // A conversion of no known kind stays in the way of all values.
      {"%q %d", {NewInteger(1), NewInteger(2)}, "%q %d"},
      {"100%", {NewInteger(1)}, "100%"},
      // What a value shows is no format.
      {"%s-%s", {NewAtom("%d%n"), NewAtom("b")}, "%d%n-b"},
      {"", {NewAtom("%n")}, " %n"},
  };
  for (const auto& row : rows) EXPECT_EQ(Format(row.format, row.values), row.wanted) << row.format;
  EXPECT_EQ(Format("%s is %%n%d", {NewString("q"), NewInteger(1)}, false), "\"q\" is %\n%d")
      << "literally";
  EXPECT_THROW(Format("%99999d", {NewInteger(1)}), EKBException);
  EXPECT_THROW(Format("%d", {NewAtom("word")}), EKBException);
}

TEST(TextHelpersTest, SetsCharactersAndQuotes) {
  const std::uint32_t types = StringToSet(" [Atom, Float] ", kKBTypeNames, "dt");
  EXPECT_EQ(SetToString(types, kKBTypeNames, ",", true, 2), "[Atom,Float]");
  EXPECT_EQ(KBStringToString("\"a\""), "a");
  EXPECT_EQ(KBStringToString("\"\"a\"\""), "\"a\"");
  EXPECT_EQ(KBStringToString("\""), "\"");
  EXPECT_EQ(StringFilter("a-bé-c", "é-"), "abc");
  EXPECT_EQ(ContainsCharacters("abé;", ";"), 4);
  EXPECT_EQ(ContainsCharacters("😀é", "é"), 3);
  EXPECT_EQ(ContainsCharacters("abc", ";"), 0);
}

}  // namespace
}  // namespace reasoner
