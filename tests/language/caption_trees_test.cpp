#include "reasoner/language/CaptionTrees.h"
#include "tests/support/EngineFixture.h"

namespace reasoner {
namespace {

class CaptionTreesTest : public EngineTest {
 protected:
  static std::string Drawn(const TCaptionNode& node, const std::string& indent = "") {
    std::string text = indent + node.caption + "\n";
    for (const TCaptionNode& child : node.children) text += Drawn(child, indent + " ");
    return text;
  }
};

TEST_F(CaptionTreesTest, ATypeShowsWhatItHas) {
  Load(R"((deftype base extends (type NUMBER))
          (deftype t "a remark" extends (type base) (units mm) (range 1 2.5) (cardinality 0 4)
            (allowed-integers 1 2)))");
  EXPECT_EQ(Drawn(TypeTree(*engine.FindDefinedType("t"))),
            "t\n Ancestor Type: base\n Primitive Types: Integer, Float\n Comment: a remark\n"
            " Units: mm\n Cardinality: 0-4\n Range: 1.0000-2.5000\n"
            " Allowed:    (allowed-integers 1 2 ) \n\n");
  EXPECT_EQ(Drawn(TypeTree(*engine.FindDefinedType("base"))),
            "base\n Primitive Types: Integer, Float\n");
}

TEST_F(CaptionTreesTest, TemplatesShowTheirSlotsByName) {
  Load(
      "(deftemplate parent (slot b (type STRING))) (deftemplate child \"c\" extends parent"
      " (multislot a (type ATOM) (default x y)))");
  TCaptionNode tree;
  TFactTemplates::FillTreeViewNode(tree, *engine.FindFactTemplate("child"));
  EXPECT_EQ(Drawn(tree),
            "\n child\n  Comment: c\n  Parent: parent\n  a\n   Primitive Types: Atom\n"
            "   Multislot\n   Default: x y \n  b\n   Primitive Types: String\n   Default: \"\"\n");
  TCaptionNode all;
  engine.GetFactTemplates().FillTreeView(all);
  EXPECT_EQ(all.children.size(), 4u);
}

TEST_F(CaptionTreesTest, TheNetworkShowsANodeUnderEachParent) {
  Load("(defrule r (a ?x) (b ?x) =>)");
  TCaptionNode tree;
  engine.GetReteNetwork().FillTreeView(tree);
  ASSERT_EQ(tree.children.size(), 2u);
  const TCaptionNode* left = &tree.children[0];
  const TCaptionNode* right = &tree.children[1];
  while (left->children.front().caption.starts_with("ctSingle")) left = &left->children.front();
  while (right->children.front().caption.starts_with("ctSingle")) right = &right->children.front();
  ASSERT_TRUE(left->children.front().caption.starts_with("ctLeft ")) << Drawn(tree);
  ASSERT_TRUE(right->children.front().caption.starts_with("ctRight ")) << Drawn(tree);
  EXPECT_EQ(left->children.front().caption.substr(7), right->children.front().caption.substr(8));
}

}  // namespace
}  // namespace reasoner
