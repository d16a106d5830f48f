"""What the command lines of the private desktop and of the emulated machine have in common."""

import argparse


def _assignment(text):
    name, equals, value = text.partition("=")
    if not name or not equals:
        raise argparse.ArgumentTypeError("NAME=VALUE is expected")
    return name, value


def runner(description):
    """A parser for `run [OPTION]... -- COMMAND...` with the options that every runner has."""
    parser = argparse.ArgumentParser(prog="run", usage="run [OPTION]... -- COMMAND...",
                                     description=description + " The exit status is COMMAND's.")
    parser.add_argument("--env", metavar="NAME=VALUE", action="append", type=_assignment, default=[],
                        help="set a variable for COMMAND; repeatable")
    parser.add_argument("--keep", action="store_true", help="keep the folder with what was logged, and say where")
    parser.add_argument("command", metavar="COMMAND", nargs="*")
    return parser
