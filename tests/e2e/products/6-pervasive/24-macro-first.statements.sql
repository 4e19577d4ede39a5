-- max rows 1
SELECT TOP 1 * FROM "Customer" WHERE (1=2) ORDER BY "Name" ASC
-- max rows 3
SELECT TOP 3 "No","Name","Balance" FROM "Customer" WHERE ((("Name" <> 'Ann'))) ORDER BY "Name", "No"
