from support import ScratchTest, run


class QueryCommandTest(ScratchTest):
    def setUp(self):
        super().setUp()
        self.db = self.new_db("people.ry-dbb", "NAME:STRING", "AGE:LONG",
                              rows=[("NAME=Meier", "AGE=40"), ("NAME=meier", "AGE=12"), ("NAME=Müller", "AGE=40")])

    def test_query_filter_search_sort(self):
        for args, out in ((("query", "NAME", "$BEGINS me"), "1\n2\n"),
                          (("query", "AGE", ">= 20", "--show"), "ID\tNAME\tAGE\n1\tMeier\t40\n3\tMüller\t40\n"),
                          (("filter", "AGE=40", "NAME=müller"), "3\n"),
                          (("filter", "AGE=12", "NAME=müller", "--or", "--sort", "AGE"), "2\n3\n"),
                          (("search", "meier | müller -40"), "1\n2\n"), (("sort", "AGE", "--rev", "--then", "NAME"), "1\n3\n2\n")):
            self.assertEqual(run("db", args[0], self.db, *args[1:]).stdout, out, args)
        self.assertNotEqual(run("db", "filter", self.db, "AGE").returncode, 0)

