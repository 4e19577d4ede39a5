SELECT "No_" FROM "Customer" WHERE ("No_"='C50000')
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" WHERE ( (("No_">'C50000'))) ORDER BY "No_"
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" ORDER BY "No_" DESC
