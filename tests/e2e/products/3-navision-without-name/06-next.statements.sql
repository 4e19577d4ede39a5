-- max rows 1
SELECT "No_" FROM "Customer" WHERE ("No_"='C20000')
-- max rows 3
SELECT "No_","Name","Balance" FROM "Customer" WHERE ( (("No_">'C20000'))) ORDER BY "No_"
