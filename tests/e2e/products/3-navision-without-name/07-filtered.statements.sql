-- max rows 3
SELECT "No_","Name","Balance" FROM "Customer" WHERE ((("Name" <> '{'+'curly}' AND "Name" <> 'Ann') AND ("Blocked" = 0))) ORDER BY "No_"
