-- max rows 1
SELECT "Name","No_" FROM "Customer" WHERE ("No_"='C30000') ORDER BY "Name" ASC
-- max rows 3
SELECT "No_","Name","Balance" FROM "Customer" WHERE ((("Name" <> 'Ann')) AND (("Name">'Smith & Sons') OR ("Name">='Smith & Sons' AND "No_">'C30000'))) ORDER BY "Name", "No_"
