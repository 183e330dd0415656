"""JSON in the rykel program: struct convert, render --struct/--data/-v, and malformed input."""
import json

from support import ScratchTest, ok, run


DOC = ('{"NAME": "Jürgen Öztürk", "N": [7, -2147483648, 12345678901, 2.5, 3.0, -0.0, 1e+20], '
       '"EMPTY": {}, "DEEP": {"L": [[1], {"X": null}], "T": true}}')


# The pretty form: two blanks a level, as Python's own json module writes it.
PRETTY = json.dumps(json.loads(DOC), indent=2, ensure_ascii=False) + "\n"


class JsonCommands(ScratchTest):
    def test_convert_round_trips(self):
        r = ok("struct", "convert", "--from", "json", "--to", "json", "-", stdin=DOC)
        # the exact text: numbers keep their form (3.0 stays a float, -0.0 its sign)
        self.assertEqual(r.stdout, PRETTY)
        php = run("struct", "convert", "--from", "json", "--to", "php", "-", stdin=DOC)
        back = run("struct", "convert", "--from", "php", "--to", "json", "-", stdin=php.stdout)
        want = json.loads(DOC)
        want["DEEP"]["L"][1]["X"] = 0  # the serialized form writes Empty as i:0
        self.assertEqual(json.loads(back.stdout), want)
        # names come back upper case; integer -0 is 0; [] comes back as {}
        r = run("struct", "convert", "--from", "json", "--to", "json", "-", stdin='{"a": -0, "b": []}')
        self.assertEqual(r.stdout, '{\n  "A": 0,\n  "B": {}\n}\n')

    def test_malformed_json_is_one_usage_error_with_line_and_column(self):
        bad = self.write("bad.json", '{"a": 1,\n  "b": ]}')
        cases = [
            (("struct", "convert", "--from", "json", bad), None,
             f"rykel struct convert: {bad}: JSON invalid at line 2, column 8: "),
            (("struct", "show", "--from", "json", "-"), '[1,', "rykel struct show: <stdin>: JSON invalid at line 1, column 4: "),
            (("render", "-e", "x", "--struct", "s=" + bad), None, f"rykel render: {bad}: JSON invalid at line 2, column 8: "),
            (("render", "-e", "x", "--data", bad), None, f"rykel render: {bad}: JSON invalid at line 2, column 8: "),
            (("render", "-e", "x", "-v", 'p={"a" 1}'), None, "rykel render: --var p: JSON invalid at line 1, column 6: "),
        ]
        for args, stdin, start in cases:
            r = run(*args, stdin=stdin)
            self.assertEqual(r.returncode, 2, args)
            self.assertEqual(r.stdout, "", args)
            self.assertTrue(r.stderr.startswith(start), (args, r.stderr))
            self.assertEqual(r.stderr.count("\n"), 1, r.stderr)  # printed once

    def test_render_reads_json_structures_data_and_variables(self):
        team = self.write("team.json", '[{"name": "Anna", "role": "Leitung"}, {"name": "Ömer", "role": "Technik"}]')
        data_text = '{"title": "Team", "year": 2024, "team": {"size": 2}}'
        data = self.write("data.json", data_text)
        tpl = "{VAR:title} {VAR:year} ({VAR:team.size}):{ITERATE p VAR:t { {VAR:p.name}/{VAR:p.role}}}"
        r = run("render", "-e", tpl, "--data", data, "--struct", "t=" + team)
        self.assertEqual((r.returncode, r.stdout, r.stderr), (0, "Team 2024 (2): Anna/Leitung Ömer/Technik", ""))
        # -v overrides --data; a -v value that starts as JSON is JSON, template text stays text
        r = run("render", "-e", "{VAR:title}|{VAR:x.k}|{ITERATE i VAR:l {{VAR:i}}}|{VAR:plain}{VAR:cmd}|{VAR:e.COUNT}",
                "--data", data, "-v", "title=Neu", "-v", 'x={"k": "v"}', "-v", "l=[1, 2]", "-v", "plain=[draft]",
                "-v", "cmd={COMMENT}", "-v", "e={ }")
        self.assertEqual((r.returncode, r.stdout), (0, "Neu|v|12|[draft]|0"), r.stderr)
        # --data needs names at the top; non-JSON structure files work as before
        r = run("render", "-e", "x", "--data", team)
        self.assertEqual(r.returncode, 2)
        self.assertIn("item 1 has no name; --data needs named items at the top", r.stderr)
        ser = self.write("d.ser", 'a:1:{s:5:"GREET";s:5:"Hallo";}')
        script = self.write("d.txt", 'GREET = "Tag"\n')
        self.assertEqual(run("render", "-e", "{VAR:greet}/{VAR:s.greet}", "--data", ser, "--struct", "s=" + script).stdout,
                         "Hallo/Tag")
        # JSON on standard input, or in a file without the .json name, is read as JSON too
        r = run("render", "-e", "{VAR:s.name}", "--struct", "s=-", stdin='\ufeff  {"name": "Ömer"}')
        self.assertEqual((r.returncode, r.stdout), (0, "Ömer"), r.stderr)
        self.assertEqual(run("render", "-e", "{VAR:title}", "--data", self.write("j.txt", data_text)).stdout, "Team")

    def test_help_names_the_json_forms(self):
        h = run("render", "--help").stdout
        self.assertIn("JSON", h)
        self.assertIn("line and column", run("struct", "convert", "--help").stdout)

