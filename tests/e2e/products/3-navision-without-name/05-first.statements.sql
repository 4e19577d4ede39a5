SELECT * FROM "Customer" WHERE (1=2)
SELECT "No_","Name","Balance" FROM "Customer" ORDER BY "No_"
SELECT 1.1 FROM Integer WHERE Number=1
