"""Finds the places of a source where a small change should fail a test: its mutants."""

import dataclasses
import re

from clang import cindex

from mutation.tokens import flat, on_one_line, tokens

K = cindex.CursorKind
T = cindex.TypeKind

FUNCTIONS = {K.FUNCTION_DECL, K.CXX_METHOD, K.CONSTRUCTOR, K.DESTRUCTOR, K.CONVERSION_FUNCTION, K.FUNCTION_TEMPLATE}
SCOPES = {K.NAMESPACE, K.CLASS_DECL, K.STRUCT_DECL, K.CLASS_TEMPLATE, K.CLASS_TEMPLATE_PARTIAL_SPECIALIZATION,
          K.LINKAGE_SPEC}
# What has no code of its own, or only such that the compiler runs.
SKIPPED = {K.PARM_DECL, K.STATIC_ASSERT, K.TYPE_REF, K.TEMPLATE_REF, K.NAMESPACE_REF, K.MEMBER_REF, K.TYPE_ALIAS_DECL,
           K.TEMPLATE_TYPE_PARAMETER, K.TEMPLATE_NON_TYPE_PARAMETER}
LOOPS = {K.FOR_STMT, K.WHILE_STMT, K.DO_STMT, K.CXX_FOR_RANGE_STMT}
NUMBERS = {T.CHAR_U, T.UCHAR, T.USHORT, T.UINT, T.ULONG, T.ULONGLONG, T.CHAR_S, T.SCHAR, T.SHORT, T.INT, T.LONG,
           T.LONGLONG, T.FLOAT, T.DOUBLE, T.POINTER}
REFERENCES = {T.LVALUEREFERENCE, T.RVALUEREFERENCE}

BOUNDARIES = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*"}
# Calls that make nothing but room.
FOR_SPEED = {"reserve", "shrink_to_fit"}
# Answers that are the default already.
DEFAULTS = {"{}", "nullptr", "std::nullopt", '""', "0"}


@dataclasses.dataclass
class Mutant:
    file: str
    function: str
    kind: str
    place: str   # the lines of the place, which stands between « and »
    line: int
    last_line: int
    start: int   # what stands at [start, end) is put between `before` and `after`, in which {on} says whether it's on
    end: int
    before: str
    after: str
    number: int = -1

    @property
    def name(self):
        return self.file, self.function, self.kind, self.place


@dataclasses.dataclass(frozen=True)
class Context:
    function: str
    result: object = None     # the type of the answer; None where a lambda leaves it to the compiler
    constexpr: bool = False
    loop: bool = False        # whether `break` ends a loop
    statement: bool = False
    operand: bool = False     # of && or ||: leaving it out says more than its opposite


def span(node):
    return node.extent.start.offset, node.extent.end.offset


def inner(node):
    """What stands within conversions that the source doesn't show, and in parentheses."""
    while node.kind in (K.UNEXPOSED_EXPR, K.PAREN_EXPR):
        children = list(node.get_children())
        if len(children) != 1 or (node.kind == K.UNEXPOSED_EXPR and span(children[0]) != span(node)):
            return node
        node = children[0]
    return node


class Finder:
    def __init__(self, file, text):
        self.file, self.text, self.found = file, text, []

    def part(self, node):
        start, end = span(node)
        return self.text[start:end]

    def operands(self, node):
        """Both sides of an operator and the operator; nothing for what is none."""
        children = sorted((child for child in node.get_children() if span(child)[1] > span(child)[0]), key=span)
        if len(children) < 2 or span(children[0])[0] != span(node)[0] or span(children[-1])[1] != span(node)[1]:
            return None
        left, right = children[0], children[-1]
        operator = tokens(self.text[span(left)[1]:span(right)[0]])
        return (left, operator[0], right) if len(operator) == 1 else None

    def operator(self, node):
        """The operator of two operands that an expression is, or "!"; nothing for another expression."""
        node = inner(node)
        if node.kind == K.UNARY_OPERATOR or (node.kind == K.CALL_EXPR and node.spelling == "operator!"):
            return "!" if self.part(node).startswith("!") else ""
        if node.kind in (K.BINARY_OPERATOR, K.UNEXPOSED_EXPR) or (
                node.kind == K.CALL_EXPR and node.spelling.startswith("operator")):
            found = self.operands(node)
            return found[1] if found else ""
        return ""

    def has_own_mutants(self, condition):
        """Whether a condition is one whose changes come down to its opposite anyway."""
        return (self.operator(condition) in {"!", "==", "!=", "&&", "||"}
                or inner(condition).kind == K.CXX_BOOL_LITERAL_EXPR)

    def add(self, context, kind, extent, before, after):
        start, end = extent
        begin = self.text.rfind("\n", 0, start) + 1
        stop = self.text.find("\n", end)
        around = [flat(self.text[begin:start]), f"«{flat(self.text[start:end])}»", flat(self.text[end:stop])]
        on = "::mutants::onAtRunTime({number})" if context.constexpr else "::mutants::on({number})"
        self.found.append(Mutant(
            self.file, context.function, kind, " ".join(filter(None, around)), self.text.count("\n", 0, start) + 1,
            self.text.count("\n", 0, end) + 1, start, end, before.replace("{on}", on), after.replace("{on}", on)))

    def opposite(self, context, kind, node):
        self.add(context, kind, span(node), "({on} != static_cast<bool>(", "))")

    def other(self, context, kind, node, instead):
        self.add(context, kind, span(node), f"({{on}} ? ({on_one_line(instead)}) : (", "))")

    def walk(self, node, context):
        """Goes through declarations to the bodies of functions."""
        for child in node.get_children():
            if child.kind in SCOPES:
                name = f"{context.function}{child.spelling}::" if child.kind not in (K.NAMESPACE, K.LINKAGE_SPEC) else ""
                self.walk(child, dataclasses.replace(context, function=name or context.function))
            elif child.kind in FUNCTIONS:
                self.function(child, context)

    def function(self, node, context):
        owner = node.semantic_parent
        names = [re.sub(r"<.*", "", node.spelling) if node.kind == K.CONSTRUCTOR else node.spelling]
        while owner is not None and owner.kind in SCOPES - {K.NAMESPACE, K.LINKAGE_SPEC}:
            names.insert(0, owner.spelling)
            owner = owner.semantic_parent
        body = [child for child in node.get_children() if child.kind == K.COMPOUND_STMT]
        if not body:
            return
        head = tokens(self.text[span(node)[0]:span(body[-1])[0]])
        inside = Context("::".join(names), result=node.result_type, constexpr="constexpr" in head or "consteval" in head)
        for child in node.get_children():
            self.visit(child, inside)

    def visit(self, node, context):
        if node.kind in SKIPPED:
            return
        if node.kind in SCOPES:
            self.walk(node, Context(f"{context.function}::{node.spelling}::"))
            return
        if node.kind == K.DECL_STMT and {"static", "constexpr"} & set(tokens(self.part(node))[:3]):
            return
        handle = getattr(self, f"visit_{node.kind.name.lower()}", None)
        if handle is None or not handle(node, context):
            self.children(node, context)

    def children(self, node, context, but=()):
        """Visits the children; those of a block are statements."""
        inside = dataclasses.replace(context, statement=node.kind in (K.COMPOUND_STMT, K.DEFAULT_STMT), operand=False)
        for child in node.get_children():
            if child not in but:
                self.visit(child, inside)

    def statement(self, node, context):
        self.visit(node, dataclasses.replace(context, statement=True, operand=False))

    def expression(self, node, context):
        self.visit(node, dataclasses.replace(context, statement=False, operand=False))

    def visit_case_stmt(self, node, context):
        for child in list(node.get_children())[1:]:
            self.statement(child, context)
        return True

    def visit_lambda_expr(self, node, context):
        body = [child for child in node.get_children() if child.kind == K.COMPOUND_STMT]
        head = tokens(self.text[span(node)[0]:span(body[-1])[0]]) if body else []
        declared = "->" in head and "&" not in head[head.index("->"):]
        self.children(node, Context(context.function, result=node.type if declared else None))
        return True

    def visit_if_stmt(self, node, context):
        condition, *others = node.get_children()
        decided = tokens(self.part(node))[1] == "constexpr"
        if decided:
            pass
        elif condition.kind == K.VAR_DECL:
            self.add(context, "condition", span(condition), "", f"; {{on}} != static_cast<bool>({condition.spelling})")
        elif not self.has_own_mutants(condition):
            self.opposite(context, "condition", condition)
        if not decided:
            self.expression(condition, context)
        for other in others:
            if span(other)[1] <= span(condition)[0]:
                self.expression(other, context)
            # What stands for the variable of the condition itself is no branch.
            elif span(other)[0] >= span(condition)[1]:
                self.statement(other, context)
        return True

    def visit_while_stmt(self, node, context):
        condition, *_, body = sorted(node.get_children(), key=span)
        if condition.kind != K.VAR_DECL and inner(condition).kind != K.CXX_BOOL_LITERAL_EXPR:
            self.add(context, "condition", span(condition), "(!{on} && static_cast<bool>(", "))")
        if inner(condition).kind != K.CXX_BOOL_LITERAL_EXPR:
            self.expression(condition, context)
        self.statement(body, dataclasses.replace(context, loop=True))
        return True

    def visit_loop(self, node, context):
        *heads, body = sorted(node.get_children(), key=span)
        for head in heads:
            self.expression(head, context)
        self.statement(body, dataclasses.replace(context, loop=True))
        return True

    visit_for_stmt = visit_cxx_for_range_stmt = visit_loop

    def visit_do_stmt(self, node, context):
        body, *conditions = sorted(node.get_children(), key=span)
        self.statement(body, dataclasses.replace(context, loop=True))
        for condition in conditions:
            self.add(context, "condition", span(condition), "(!{on} && static_cast<bool>(", "))")
            self.expression(condition, context)
        return True

    def visit_switch_stmt(self, node, context):
        self.children(node, dataclasses.replace(context, loop=False))
        return True

    def visit_conditional_operator(self, node, context):
        condition = min(node.get_children(), key=span)
        if not self.has_own_mutants(condition):
            self.opposite(context, "condition", condition)

    def visit_return_stmt(self, node, context):
        answer = next(iter(node.get_children()), None)
        if answer is None:
            self.jump(node, context)
        elif inner(answer).type.get_canonical().kind == T.BOOL:
            if not self.has_own_mutants(answer) and self.operator(answer) not in BOUNDARIES:
                self.opposite(context, "answer", answer)
        elif (context.result is not None and context.result.kind not in REFERENCES
              and on_one_line(self.part(answer)).replace(" ", "") not in DEFAULTS):
            self.add(context, "answer", span(node), "if ({on}) return {}; else ", "")

    def jump(self, node, context):
        self.add(context, "jump", span(node), "if ({on}) {} else ", "")

    def visit_break_stmt(self, node, context):
        if context.loop:
            self.jump(node, context)

    visit_continue_stmt = jump

    def visit_cxx_bool_literal_expr(self, node, context):
        self.opposite(context, "truth", node)

    def visit_integer_literal(self, node, context):
        decimal = re.fullmatch(r"(0|[1-9][\d']*)([uUlLzZ]*)", self.part(node))
        if decimal:
            self.other(context, "number", node, f"{int(decimal[1].replace(chr(39), '')) + 1}{decimal[2]}")

    def visit_unary_operator(self, node, context):
        if self.operator(node) == "!":
            self.negation(node, context)
        elif context.statement and self.part(node).strip("+-") != self.part(node):
            self.leave_out(context, "count", node)

    def leave_out(self, context, kind, node):
        # No choice between two expressions without a value: clang 14 crashes at some of these.
        self.add(context, kind, span(node), "static_cast<void>({on} || (static_cast<void>(", "), false))")

    def visit_call_expr(self, node, context):
        operator = self.operator(node)
        if operator == "!":
            self.negation(node, context)
        elif operator:
            return self.visit_binary_operator(node, context)
        elif context.statement and node.spelling in FOR_SPEED:
            return True
        elif context.statement:
            self.leave_out(context, "call", node)
        return False

    def negation(self, node, context):
        if not context.operand:
            self.opposite(context, "negation", node)

    def visit_compound_assignment_operator(self, node, context):
        if context.statement:
            self.leave_out(context, "assignment", node)

    def visit_unexposed_expr(self, node, context):
        if inner(node).kind == K.UNEXPOSED_EXPR:
            return self.visit_binary_operator(node, context)
        self.visit(inner(node), context)
        return True

    def visit_binary_operator(self, node, context):
        found = self.operands(node)
        if not found:
            return False
        left, operator, right = found
        sides = self.part(left), self.part(right)
        if operator in ("&&", "||"):
            for side in (left, right):
                if self.operator(side) != operator:
                    before = "({on} || static_cast<bool>(" if operator == "&&" else "(!{on} && static_cast<bool>("
                    self.add(context, "operand", span(side), before, "))")
                self.visit(side, dataclasses.replace(context, statement=False, operand=True))
            return True
        if operator in ("==", "!="):
            if not context.operand:
                self.opposite(context, "equality", node)
        elif operator in BOUNDARIES:
            self.other(context, "boundary", node, f"{sides[0]} {BOUNDARIES[operator]} {sides[1]}")
        elif operator in ARITHMETIC and node.type.get_canonical().kind in NUMBERS:
            self.other(context, "arithmetic", node, f"{sides[0]} {ARITHMETIC[operator]} {sides[1]}")
        elif operator in ("=", "+=", "-=", "|=", "&=") and context.statement:
            self.leave_out(context, "assignment", node)
        return False


def mutants_of(file, path, arguments):
    """The mutants of a source at a path, which bears the name `file`, by the compiler's arguments for it."""
    text = path.read_bytes().decode("latin-1")
    tree = cindex.Index.create().parse(str(path), arguments)
    wrong = [str(message) for message in tree.diagnostics if message.severity >= cindex.Diagnostic.Error]
    if wrong:
        raise RuntimeError(f"{file} does not compile: {wrong[0]}")
    finder = Finder(file, text)
    for node in tree.cursor.get_children():
        if node.location.file is not None and node.location.file.name == str(path):
            if node.kind in SCOPES:
                finder.walk(node, Context("" if node.kind in (K.NAMESPACE, K.LINKAGE_SPEC) else f"{node.spelling}::"))
            elif node.kind in FUNCTIONS:
                finder.function(node, Context(""))
    return sorted({(m.start, m.end, m.kind): m for m in finder.found}.values(), key=lambda m: (m.start, -m.end))
