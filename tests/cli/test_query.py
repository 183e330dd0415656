from support import ScratchTest, run


class QueryCommandTest(ScratchTest):
    def setUp(self):
        super().setUp()
        self.db = self.new_db("people.ry-dbb", "NAME:STRING", "AGE:LONG",
                              rows=[("NAME=Meier", "AGE=40"), ("NAME=meier", "AGE=12"), ("NAME=Müller", "AGE=40")])

    def test_query_filter_search_sort(self):
        self.assertEqual(run("db", "query", self.db, "NAME", "$BEGINS me").stdout, "1\n2\n")
        self.assertEqual(run("db", "query", self.db, "AGE", ">= 20", "--show").stdout,
                         "ID\tNAME\tAGE\n1\tMeier\t40\n3\tMüller\t40\n")
        self.assertEqual(run("db", "filter", self.db, "AGE=40", "NAME=müller").stdout, "3\n")
        self.assertEqual(run("db", "filter", self.db, "AGE=12", "NAME=müller", "--or", "--sort", "AGE").stdout,
                         "2\n3\n")
        self.assertEqual(run("db", "search", self.db, "meier | müller -40").stdout, "1\n2\n")
        self.assertEqual(run("db", "sort", self.db, "AGE", "--rev", "--then", "NAME").stdout, "1\n3\n2\n")
        r = run("db", "filter", self.db, "AGE")
        self.assertNotEqual(r.returncode, 0)

