SELECT * FROM "Customer" WHERE (1=2) ORDER BY "Name" ASC
SELECT "No_","Name","Balance" FROM "Customer" WHERE ((("Name" <> 'Ann'))) ORDER BY "Name", "No_"
