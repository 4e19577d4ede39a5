-- max rows 1
SELECT "Name","No_" FROM "Customer" WHERE ("No_"='C40000')
-- max rows 3
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" WHERE ( (("Name"<'{'+'curly}') OR ("Name"<='{'+'curly}' AND "No_"<'C40000'))) ORDER BY "Name" DESC, "No_" DESC
