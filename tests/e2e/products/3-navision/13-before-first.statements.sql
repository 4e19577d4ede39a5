-- max rows 1
SELECT "No_" FROM "Customer" WHERE ("No_"='C10000')
-- max rows 3
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" WHERE ( (("No_"<'C10000'))) ORDER BY "No_" DESC
-- max rows 3
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" ORDER BY "No_"
