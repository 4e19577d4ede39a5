-- max rows 3
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" ORDER BY "No_" DESC
