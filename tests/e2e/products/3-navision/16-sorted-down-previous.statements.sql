-- max rows 1
SELECT "Name","No_" FROM "Customer" WHERE ("No_"='C30000')
-- max rows 3
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" WHERE ( (("Name">'Smith & Sons') OR ("Name">='Smith & Sons' AND "No_">'C30000'))) ORDER BY "Name", "No_"
