-- max rows 1
SELECT * FROM "Customer" WHERE (1=2)
-- max rows 3
SELECT "No_","Name","Balance" FROM "Customer" ORDER BY "No_"
-- max rows 1
SELECT 1.1 FROM Integer WHERE Number=1
