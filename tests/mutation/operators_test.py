# SPDX-License-Identifier: MIT
"""What scripts/mutate makes of a source."""

import unittest

import operators


def mutated(source):
    return [mutant.mutated for mutant in operators.mutants_of(source + "\n")]


class OperatorsTest(unittest.TestCase):
    def test_changes_each_operator_and_constant(self):
        cases = {
            "a = b < c;": ["a = b <= c;", "a = b >= c;"],
            "a = b == c;": ["a = b != c;"],
            "a = b && c;": ["a = b || c;"],
            "a = b + c;": ["a = b - c;"],
            "a = b ? c : d;": ["a = b && false ? c : d;", "a = b || true ? c : d;"],
            "a = true;": ["a = false;"],
            "a = 120ms;": ["a = 119ms;", "a = 121ms;"],
            "a = 0;": ["a = 1;"],
            "a = 0600;": ["a = 383;", "a = 385;"],
            "a = 50.0F;": ["a = 51.0F;"],
            "a = u\"\\\"b\"_s;": ["a = u\"|\\\"b\"_s;"],
            "a = R\"(\"b\")\";": ["a = R\"(|\"b\")\";"],
            "a = 'b';": ["a = 'c';"],
            "a = std::min(b, c);": ["a = std::max(b, c);"],
        }
        for source, expected in cases.items():
            with self.subTest(source):
                self.assertEqual(mutated("int " + source), ["int " + text for text in expected])

    def test_negates_conditions(self):
        cases = {
            "if (a) {": ["if (!(a)) {"],
            "while (!a.b()) {": ["while (!(!a.b())) {"],
            "if (const auto *a = b(c)) {": ["if (const auto *a = b(c); !a) {"],
            "if (const std::optional<double> a = b(c)) {": ["if (const std::optional<double> a = b(c); !a) {"],
            "if (a == b) {": ["if (a != b) {"],
        }
        for source, expected in cases.items():
            with self.subTest(source):
                self.assertEqual(mutated(source + " }"), [text + " }" for text in expected])

    def test_replaces_results(self):
        cases = {
            "return a;": ["return {};"],
            "co_return a(b);": ["co_return {};"],
            "return a || b;": ["return !(a || b);", "return {};", "return a && b;"],
            "return {};": [],
            "return {a, b};": ["return {};"],
        }
        for source, expected in cases.items():
            with self.subTest(source):
                self.assertEqual(mutated("; " + source), ["; " + text for text in expected])

    def test_leaves_statements_out(self):
        for source in ("a(b);", "a::b->c(d, [] { });", "a = b;", "co_return;", "throw a;", "delete a;", "++a;",
                       "co_await a;"):
            with self.subTest(source):
                self.assertIn("{ ; }", mutated(f"{{ {source} }}"))

    def test_leaves_declarations_and_heads_of_loops_alone(self):
        for source in ("A a(b);", "const A a = b;", "std::array<A, B> a;", "for (A a = b; a; a.c()) { }",
                       "return {a(b)};", "A::B(C c) : d(c) { }"):
            with self.subTest(source):
                self.assertNotIn("{ ; }", mutated(f"{{ {source} }}"))

    def test_leaves_comments_directives_templates_and_logging_alone(self):
        for source in ("// a < 1", "/* a < 1 */", "#include \"a\"", "template <A> b;", "A &&a;",
                       "qCInfo(a) << \"b\" << (c ? d : 1);"):
            with self.subTest(source):
                self.assertEqual(mutated(source), [])

    def test_tells_apart_what_reads_the_same(self):
        mutants = operators.mutants_of("A a = true;\nA a = true;\n")
        self.assertEqual([(mutant.line, mutant.occurrence) for mutant in mutants], [(1, 1), (2, 2)])

    def test_tells_in_which_function_a_change_is(self):
        mutants = operators.mutants_of("void A::b()\n{\n    c = true;\n}\n")
        self.assertEqual({mutant.function for mutant in mutants}, {"A::b"})


if __name__ == "__main__":
    unittest.main()
