"""Splits C++ into tokens. Texts are those of bytes, one character each, so that offsets are the compiler's."""

import re

TOKEN = re.compile(
    r"""//[^\n]*|/\*.*?\*/                                # comments
    |(?:u8|[uUL])?R"(?P<mark>[^()\\\s]*)\(.*?\)(?P=mark)" # raw texts
    |(?:u8|[uUL])?"(?:\\.|[^"\\\n])*"
    |(?:u8|[uUL])?'(?:\\.|[^'\\\n])*'
    |\.?\d(?:[eEpP][+-]|'?[\w.])*                         # numbers
    |\w+
    |<=>|<<=|>>=|->\*|\.\.\.|::|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=
    |[^\s\w]""",
    re.DOTALL | re.VERBOSE)


def tokens(text):
    """The tokens of a text but its comments."""
    return [token for token in (found[0] for found in TOKEN.finditer(text)) if not token.startswith(("//", "/*"))]


def on_one_line(text):
    """The same code without comments and line ends."""
    return " ".join(tokens(text))


def flat(text):
    """A text of bytes as one line for people; its blanks are as they stand."""
    return " ".join(text.encode("latin-1").decode("utf-8", "replace").split())
