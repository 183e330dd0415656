"""The interpreter from Python: processing, decoding, in-place parameters, host modules and events."""
import rykel
from support import ScratchTest


class TestKEL(ScratchTest):
    def test_process_and_errors(self):
        k = rykel.cls_KEL()
        self.assertEqual((k.PROCESS("{VAR x 5}{VAR:x}", None), k.ERRORLIST.COUNT()), ("5", 0))
        self.assertEqual((k.PROCESS("{VAR:nope}"), k.ERRORLIST.COUNT(), k.ERRORLIST.ITEM_GET(1)),
                         ("ERR:---VAR not found: nope---", 1, "<b>VAR not found</b>: nope<br/>"))
        place = k.ERRORPLACES.ITEM_GET(1)
        self.assertEqual((place.ITEM_GET("LINE"), place.ITEM_GET("COLUMN")), (1, 1))
        self.assertEqual((k.ISERROR("ERR:x"), k.ISERROR("ERR"), k.ERRORTEXT("ERR:---a: b---")), (True, False, "a: b"))
        data = rykel.cls_Structure()
        data.ADD("Anna")
        self.assertEqual(k.PROCESS("Hallo {%1}!", data), "Hallo Anna!")
        k.VARIABLES.ITEM_LET("n", 3)
        self.assertEqual(k.PROCESS("{IF (n > 2) {big} {small}}"), "big")

    def test_pages_cut_short(self):
        # The host tells a page cut short by its flag and finds the place in ERRORPLACES (every
        # way a page is cut short: cls_KELCutShort_test.cpp).
        k = rykel.cls_KEL()
        self.assertEqual(k.PROCESS('ab\ncd {VAR a "x}'), "")
        self.assertTrue(k.CUTSHORT_GET())
        p = k.ERRORPLACES.ITEM_GET(k.ERRORPLACES.MAX())
        self.assertEqual((p.ITEM_GET("LINE"), p.ITEM_GET("COLUMN"), p.ITEM_GET("MESSAGE")),
                         (2, 11, 'Syntax error: Unclosed ": (VAR a "x)'))

    def test_decode_encode_execute(self):
        k = rykel.cls_KEL()
        self.assertEqual(k.LITERAL("AND"), "&&")
        self.assertEqual([k.DECODE(t) for t in ("#ff", "12:30", "TRUE", "1,5")], [255, "12:30", "1", 1.5])
        self.assertEqual(k.DECODE("2024-01-05").year, 2024)
        self.assertEqual((k.ENCODE("a\"b'c", True), k.ENCODE(1.5)), ("\"a'b'c\"", "1.5"))
        self.assertEqual(k.EXECUTE("(2 * 21)"), 42)
        s = k.EXECUTE("STRUCT:TESTLINEAR")
        self.assertIsInstance(s, rykel.cls_Structure)
        self.assertEqual(s.ITEM_GET("GAMMA"), 6)
        self.assertEqual((rykel.cls_KEL.hInArray(2, [1, 2.0, "x"]), rykel.cls_KEL.hInArray("y", [1, "x"])), (True, False))

    def test_in_place_parameters(self):
        k = rykel.cls_KEL()
        self.assertEqual(k.ENCAPSULATE("<style>a{b}</style>", "<style", "</style>"), (True, "<style>a[[b]]</style>"))
        p = rykel.cls_Structure()
        p.ITEM_LET("A", 1)
        ok, p2 = k.SYNTAXCHECK(p, "A,B=''")
        self.assertEqual((ok, p2.ITEM_GET("B")), (True, ""))
        self.assertFalse(k.SYNTAXCHECK(rykel.cls_Structure(), "NEEDED")[0])
        self.assertEqual(k.VARSET(None, 5), 5)

    def test_python_module(self):
        class Shout:
            ID = "SHOUT"
            ALIASES = ["LOUD"]
            CATCHFIRST = False
            CATCHALL = True

            def __init__(self):
                self.seen = []

            def MODULE_EXECUTE(self, rResult, rDone, rValue, pCmd, pParameters, pKEL):
                self.seen.append(pCmd)
                if pCmd.startswith("OTHER:"):
                    if pCmd != "OTHER:HELLO":
                        return (False, rValue)
                    return (True, "hello from python")
                return (True, str(pParameters.ITEM_GET(1)).upper() + "!")

        k = rykel.cls_KEL()
        m = Shout()
        k.MODULES.ADD(m)
        self.assertEqual(k.MODULES.COUNT(), 4)
        self.assertEqual([k.PROCESS(t) for t in ('{SHOUT:IT "hey"} {loud:x abc}', "{hello}", "{bye}")],
                         ["HEY! ABC!", "hello from python", "ERR:---Cannot execute: bye---"])
        self.assertEqual(m.seen, ["IT", "X", "OTHER:HELLO", "OTHER:BYE"])
        self.assertEqual(k.MODULES.MODULE("loud").MODULE_GET().ID_GET(), "SHOUT")

    def test_check(self):
        # CHECK reads without running; a Python module that lists COMMANDS is known to it.
        class Greet:
            ID = "GREET"
            COMMANDS = ["hello"]

            def MODULE_EXECUTE(self, rResult, rDone, rValue, pCmd, pParameters, pKEL):
                return (True, "hi")

        k = rykel.cls_KEL()
        self.assertEqual(k.CHECK("{VAR x 5}{IF (x > 1) {a}}{ELSE {b}}"), [])
        self.assertEqual(k.CHECK("a\n {GREET:HELO}", "page.kel"), [
            {"file": "page.kel", "line": 2, "column": 3, "severity": "error",
             "message": "unknown module 'GREET' in 'GREET:HELO'"}])
        k.MODULES.ADD(Greet())
        self.assertEqual(k.MODULES.MODULE("GREET").MODULE_GET().COMMANDS_GET(), ["HELLO"])
        found = k.CHECK("{GREET:HELO}")
        self.assertEqual([(f["line"], f["column"], f["message"]) for f in found],
                         [(1, 2, "unknown command 'GREET:HELO' (did you mean 'GREET:HELLO'?)")])
        self.assertEqual((k.CHECK("{GREET:hello}"), k.VARIABLES.COUNT()), ([], 0))  # nothing ran

    def test_events(self):
        k = rykel.cls_KEL()
        shown = []
        k.CRITICALERRORS = lambda errors: shown.append(errors.COUNT())
        k.PROCESS("{VAR:a}{VAR:b}")
        k.ERRORLISTSHOW()
        self.assertEqual(shown, [2])
        warnings = []

        def warn(message, go):
            warnings.append(message)
            return False

        k.WARNING = warn
        k.SETTINGS.ITEM_LET("SYS.COMMANDS.MAX", 2)
        self.assertEqual((k.PROCESS("{COMMENT}{COMMENT}{COMMENT}"), warnings), ("", ["Not parseable"]))
        signals = []
        k.SIGNALED = lambda kel, done, flags: signals.append(flags)
        k.PROCESS("x")
        self.assertEqual(signals, [1, 2])

    def test_include_from_directories(self):
        head = self.write("inc/head.kel", "<h1>{VAR:title}</h1>")
        k = rykel.cls_KEL()
        k.DIRECTORIES.ADD(self.dir.name)
        k.VARIABLES.ITEM_LET("title", "Grüße")
        self.assertEqual((k.PROCESS("{INCLUDE head}"), k.LOCATE("inc\\head.kel")), ("<h1>Grüße</h1>", head))

    def test_data_from_python_is_never_code(self):
        # a Python text, the data mark (U+E000) in it too, comes back as it was (every form of
        # value: mod_KELDB_test.cpp)
        k = rykel.cls_KEL()
        m = rykel.mod_KELDB()
        k.MODULES.ADD(m)
        db = rykel.cls_DB()
        db.FIELDCREATE("NAME")
        value = "{INCLUDE x} \"quoted\" '{x}' \ue000123"
        db.ENTRYFIELD_LET(1, "NAME", value)
        m.ATTACH(db)
        k.VARIABLES.ITEM_LET("v", value)
        self.assertEqual((k.PROCESS("[{DB:TEXT 1 NAME}|{DATA:v}]"), k.EXECUTE("DATA:v"), k.ERRORLIST.COUNT()),
                         ("[" + value + "|" + value + "]", value, 0))

